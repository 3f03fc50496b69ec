#include "ctl/Companion.h"
#include "support/FailingCall.h"
#include "support/FakeHostName.h"
#include "support/FakeInstallation.h"
#include "support/FileSizeLimit.h"
#include "support/Files.h"
#include "support/LockHolder.h"
#include "support/RecoveryTest.h"
#include "support/TemporaryFramework.h"

#include <Poco/JSON/Object.h>
#include <Poco/JSON/Parser.h>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <sstream>
#include <thread>

namespace QMT::Test
{

namespace
{

using Lines = std::vector<std::string>;

/// Calls of the command on a temporary framework, on the host "alpha". A commit that adds a model has installed the
/// list and not the document.
class RecoverCommand : public testing::Test
{
protected:
    RecoverCommand() : pump(framework.model("pump.xml", "Pump"))
    {
        writeFile(framework.configuration(), oldConfiguration);
        writeFile(framework.list(), "/base\n" + pump + "\n");
        ::chmod(framework.list().c_str(), 0640);
        writeFile(framework.configuration(".bak"), oldConfiguration);
        writeFile(framework.list(".bak"), "/base\n");
        writeFile(framework.configuration(".tmp"), oldConfiguration);
        writeFile(framework.session(), "0:" + pump + "\n");
        writeFile(framework.lock(), "alpha");
    }

    int run(std::vector<std::string> words)
    {
        words.insert(words.begin(), {"recover", "--qor-path=" + framework.path()});
        out.str("");
        console.str("");
        return runCompanion(words, out, console);
    }

    Poco::JSON::Object::Ptr answer() const
    {
        Poco::JSON::Parser parser;
        return parser.parse(out.str()).extract<Poco::JSON::Object::Ptr>();
    }

    std::string found() const
    {
        return answer()->getValue<std::string>("found");
    }

    Lines done() const
    {
        Lines lines;
        const Poco::JSON::Array::Ptr array = answer()->getArray("done");
        for (const auto& line : *array)
        {
            lines.push_back(line.toString());
        }
        return lines;
    }

    void expectUnchanged() const
    {
        framework.expectLive(oldConfiguration, "/base\n" + pump + "\n");
        EXPECT_FALSE(exists(framework.list(".tmp")));
        for (const auto& entry : std::filesystem::directory_iterator(framework.path() + "/etc"))
        {
            EXPECT_EQ(entry.path().filename().string().find("recovery-"), std::string::npos);
        }
    }

    Lines steps() const
    {
        return {"put back " + framework.list() + " from " + framework.list(".bak"),
                "made " + framework.list(".tmp") + " anew"};
    }

    TemporaryFramework framework;
    FakeInstallation installation;
    FakeHostName host{"alpha"};
    const std::string oldConfiguration = documentServing({"Base"});
    const std::string pump;
    std::ostringstream out;
    std::ostringstream console;
};

TEST_F(RecoverCommand, RecoversAndKeepsACopy)
{
    EXPECT_EQ(run({"--json"}), 0);

    EXPECT_EQ(found(), "commit-interrupted");
    EXPECT_EQ(done(), steps());
    framework.expectLive(oldConfiguration, "/base\n");
    EXPECT_EQ(readFile(framework.list(".tmp")), "/base\n");
    EXPECT_EQ(readFile(framework.session()), "0:" + pump + "\n");
    const auto copy = answer()->getValue<std::string>("copy");
    std::string form = copy;
    std::replace_if(
        form.begin() + static_cast<std::ptrdiff_t>(framework.path().size()), form.end(),
        [](unsigned char byte) { return std::isdigit(byte) != 0; }, '0');
    EXPECT_EQ(form, framework.path() + "/etc/recovery-00000000T000000Z");
    EXPECT_EQ(readFile(copy + "/model_file_list.cfg"), "/base\n" + pump + "\n");
    EXPECT_EQ(modeOf(framework.list()), 0640U);
    EXPECT_EQ(console.str(), "");
}

TEST_F(RecoverCommand, ReportsTheStepsAsText)
{
    EXPECT_EQ(run({}), 0);

    const std::string text = "found: commit-interrupted\n  " + steps()[0] + "\n  " + steps()[1] + "\ncopy:  ";
    EXPECT_EQ(out.str().substr(0, text.size()), text);
}

TEST_F(RecoverCommand, FindsNothingTheSecondTime)
{
    run({});

    EXPECT_EQ(run({"--json"}), 0);

    EXPECT_EQ(out.str(), "{\"command\":\"recover\",\"framework\":\"" + framework.path() +
                             "\",\"status\":0,\"found\":\"nothing\",\"done\":[],\"copy\":null}\n");
    EXPECT_EQ(run({}), 0);
    EXPECT_EQ(out.str(), "found: nothing\n");
}

TEST_F(RecoverCommand, DryRunReportsTheStepsAndChangesNothing)
{
    EXPECT_EQ(run({"--json", "--dry-run"}), 0);

    EXPECT_EQ(found(), "commit-interrupted");
    EXPECT_EQ(done(), steps());
    EXPECT_TRUE(answer()->isNull("copy"));
    expectUnchanged();
    EXPECT_FALSE(exists(framework.callerLock()));
}

TEST_F(RecoverCommand, NamesWhatWasInterrupted)
{
    std::filesystem::remove(framework.lock());
    EXPECT_EQ(run({"--dry-run"}), 0);
    EXPECT_EQ(out.str(), "found: staging-interrupted\n  removed " + framework.session() + "\n  removed " +
                             framework.configuration(".tmp") + "\n");

    std::filesystem::remove(framework.list());
    EXPECT_EQ(run({"--dry-run", "--json"}), 0);
    EXPECT_EQ(found(), "rollback-interrupted");
}

// ---- Questions ----

TEST_F(RecoverCommand, AsksAndChangesNothingWhenUnclear)
{
    writeFile(framework.list(".tmp"), "/base\n" + pump + "\n");

    EXPECT_EQ(run({"--json"}), 1);

    EXPECT_EQ(found(), "unclear");
    EXPECT_EQ(done(), Lines());
    EXPECT_TRUE(answer()->isNull("copy"));
    EXPECT_EQ(console.str(),
              "qor_mim_ctl: unclear: the list is what the queue makes of its backup: a commit cut short, or "
              "actions staged anew. Nothing was changed; say what was interrupted by --assume=commit, "
              "rollback or nothing\n");
    EXPECT_EQ(run({"--dry-run"}), 1);
    EXPECT_EQ(out.str(), "found: unclear\n");
    framework.expectLive(oldConfiguration, "/base\n" + pump + "\n");
}

TEST_F(RecoverCommand, AssumeAcceptsEachAnswer)
{
    writeFile(framework.list(".tmp"), "/base\n" + pump + "\n");

    EXPECT_EQ(run({"--json", "--dry-run", "--assume=nothing"}), 0);
    EXPECT_EQ(found(), "nothing");
    EXPECT_EQ(run({"--json", "--dry-run", "--assume=rollback"}), 0);
    EXPECT_EQ(found(), "nothing");
    EXPECT_EQ(run({"--json", "--assume=commit"}), 0);
    EXPECT_EQ(found(), "commit-interrupted");
    framework.expectLive(oldConfiguration, "/base\n");
}

// ---- Other callers and sessions ----

TEST_F(RecoverCommand, IsBusyWhileAnotherCallerHoldsTheLock)
{
    const LockHolder holder(framework.callerLock());

    for (const std::string option : {"--force", "--dry-run"})
    {
        EXPECT_EQ(run({"--json", option}), 3);
        EXPECT_EQ(out.str(), "{\"command\":\"recover\",\"framework\":\"" + framework.path() +
                                 "\",\"status\":3,\"error\":\"" + holder.message() + "\"}\n");
    }
    expectUnchanged();
}

TEST_F(RecoverCommand, WaitsForAnotherCaller)
{
    auto holder = std::make_unique<LockHolder>(framework.callerLock());
    std::thread release(
        [&holder]
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            holder.reset();
        });

    EXPECT_EQ(run({"--wait=600"}), 0);

    release.join();
    framework.expectLive(oldConfiguration, "/base\n");
}

TEST_F(RecoverCommand, RefusesTheSessionOfAnotherHost)
{
    for (const std::string owner : {"beta", "qor_mim_ctl@beta"})
    {
        writeFile(framework.lock(), owner);

        EXPECT_EQ(run({}), 3);
        EXPECT_EQ(console.str(), "qor_mim_ctl: the host beta has a session open (--force recovers it too)\n");
        EXPECT_EQ(run({"--dry-run"}), 3);
    }
    expectUnchanged();
}

TEST_F(RecoverCommand, ForceRecoversTheSessionOfAnotherHost)
{
    writeFile(framework.lock(), "beta");

    EXPECT_EQ(run({"--force"}), 0);

    framework.expectLive(oldConfiguration, "/base\n");
    EXPECT_EQ(readFile(framework.lock()), "beta");
}

TEST_F(RecoverCommand, WaitsForTheSessionOfAnotherHost)
{
    writeFile(framework.lock(), "beta");
    std::thread release(
        [this]
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            writeFile(framework.lock(), "alpha");
        });

    EXPECT_EQ(run({"--wait=600"}), 0);

    release.join();
    framework.expectLive(oldConfiguration, "/base\n");
}

TEST_F(RecoverCommand, WaitsAShortTimeForASession)
{
    writeFile(framework.lock(), "beta");
    // Only the first look at the session succeeds.
    const FailingCall failing("fopen", framework.lock(), EIO, 1);

    EXPECT_EQ(run({"--wait=1"}), 4);

    EXPECT_EQ(console.str(), "qor_mim_ctl: File access error: the file cannot be read: " + framework.lock() + "\n");
}

TEST_F(RecoverCommand, EndsAnApply)
{
    writeFile(framework.lock(), "qor_mim_ctl@alpha");

    EXPECT_EQ(run({"--json"}), 0);

    EXPECT_EQ(done(), Lines({steps()[0], "removed " + framework.session(), "removed " + framework.configuration(".tmp"),
                             "removed " + framework.lock()}));
}

// ---- The validator ----

TEST_F(RecoverCommand, AsksTheValidatorAboutALoneLock)
{
    for (const std::string& file : {framework.session(), framework.configuration(".tmp")})
    {
        std::filesystem::remove(file);
    }
    installation.setValidator("exit 1");

    EXPECT_EQ(run({"--json"}), 1);
    EXPECT_EQ(found(), "unclear");

    installation.setValidator("exit 0");
    EXPECT_EQ(run({"--json"}), 0);
    EXPECT_EQ(done(), Lines({"removed " + framework.lock()}));
}

// ---- Failures ----

TEST_F(RecoverCommand, NamesAnUnreadableFile)
{
    putDirectoryAt(framework.list(".bak"));

    EXPECT_EQ(run({"--json"}), 4);
    EXPECT_EQ(answer()->getValue<std::string>("error"),
              "File access error: the file cannot be read: " + framework.list(".bak"));
    EXPECT_FALSE(answer()->has("found"));
    expectUnchanged();
}

TEST_F(RecoverCommand, ChangesNothingWithoutRoomForTheCopy)
{
    installation.setValidator("exit 0");
    int status = 0;
    {
        const FileSizeLimit limit(1);
        status = run({"--json"});
    }
    EXPECT_EQ(status, 4);
    expectUnchanged();
}

TEST_F(RecoverCommand, NamesTheCopyWhenAStepFails)
{
    const FailingCall failing("rename", framework.list(), EIO);

    EXPECT_EQ(run({}), 4);

    const std::string text = console.str();
    const std::string begin =
        "qor_mim_ctl: File access error: Input/output error: " + framework.list() + "; the files as they were are in ";
    const std::string end = "; call qor_mim_ctl recover again\n";
    ASSERT_GT(text.size(), begin.size() + end.size());
    const std::string copy = text.substr(begin.size(), text.size() - begin.size() - end.size());
    EXPECT_EQ(text, begin + copy + end);
    EXPECT_EQ(readFile(copy + "/model_file_list.cfg"), "/base\n" + pump + "\n");
    EXPECT_EQ(out.str(), "");
}

TEST_F(RecoverCommand, ResumesAfterAFailedStep)
{
    {
        const FailingCall failing("rename", framework.list(".tmp"), EIO);
        ASSERT_EQ(run({}), 4);
    }
    EXPECT_EQ(run({}), 0);

    framework.expectLive(oldConfiguration, "/base\n");
    EXPECT_EQ(readFile(framework.list(".tmp")), "/base\n");
}

TEST_F(RecoverCommand, ReportsAllAttributesThatCannotBeSet)
{
    for (const char* const name : {"user.one", "user.two"})
    {
        if (::setxattr(framework.list().c_str(), name, "", 0, 0) != 0)
        {
            GTEST_SKIP() << "the file system has no extended attributes";
        }
    }
    const FailingCall failing("fsetxattr", framework.list() + ".replacement", EPERM);

    EXPECT_EQ(run({}), 0);

    EXPECT_EQ(console.str(), "qor_mim_ctl: the attribute user.one of " + framework.list() +
                                 " could not be kept; the attribute user.two of " + framework.list() +
                                 " could not be kept\n");
}

TEST_F(RecoverCommand, ReportsAModeThatCannotBeSet)
{
    const FailingCall failing("fchmod", framework.list() + ".replacement", EPERM);

    EXPECT_EQ(run({"--json"}), 0);

    EXPECT_EQ(console.str(), "qor_mim_ctl: the mode of " + framework.list() + " could not be kept\n");
    EXPECT_FALSE(answer()->has("error"));
}

} // namespace

} // namespace QMT::Test
