#include "ctl/RecoverySteps.h"

#include "support/FailingCall.h"
#include "support/FileSizeLimit.h"
#include "support/Files.h"
#include "support/TemporaryFramework.h"
#include "support/ThrownBy.h"

#include <Poco/Exception.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

namespace QMT::Test
{

namespace
{

using Lines = std::vector<std::string>;

class RecoverySteps : public testing::Test
{
protected:
    static Lines texts(const FrameworkContents& now, const FrameworkContents& after)
    {
        Lines found;
        for (const RecoveryStep& step : recoverySteps("/fw", now, after))
        {
            found.push_back(step.text);
        }
        return found;
    }

    const std::string configuration = "/fw/etc/qor.cfg";
    const std::string list = "/fw/etc/model/model_file_list.cfg";
    const std::string session = "/fw/etc/model/cmdfifo.dat";
    const std::string lock = "/fw/etc/model/qor_mim_tool.lock";
    TemporaryFramework framework;
};

TEST_F(RecoverySteps, ReturnsNothingWithoutAChange)
{
    const FrameworkContents now = {{"a", "b"}, {"c", "d"}, {"e", "f"}, "g", "h"};

    EXPECT_EQ(texts(now, now), Lines());
}

TEST_F(RecoverySteps, PutsFilesBackAndKeepsASession)
{
    const FrameworkContents now = {{"new", std::nullopt}, {std::nullopt, "new"}, {"old", "old"}, "1\n2", ""};
    const FrameworkContents after = {{"old", "old"}, {"old", "old"}, FilePair(), "1\n", "host"};

    EXPECT_EQ(texts(now, after),
              Lines({"put back " + configuration + " from " + configuration + ".bak",
                     "put back " + list + " from " + list + ".bak", "made " + configuration + ".tmp anew",
                     "made " + list + ".tmp anew", "removed " + configuration + ".bak", "removed " + list + ".bak",
                     "kept the complete lines of " + session, "wrote the name of this host to " + lock}));
}

TEST_F(RecoverySteps, EndsASession)
{
    const FrameworkContents now = {{"a", "b"}, {"c", "d"}, FilePair(), "1\n", "host"};
    const FrameworkContents after = {{"a", "b"}, FilePair(), FilePair(), std::nullopt, std::nullopt};

    EXPECT_EQ(texts(now, after), Lines({"removed " + session, "removed " + list + ".tmp",
                                        "removed " + configuration + ".tmp", "removed " + lock}));
}

TEST_F(RecoverySteps, TakesAttributesOfTheOldFileOrTheSource)
{
    const FrameworkContents now = {{"new", std::nullopt}, {"x", "copy"}, {"old", std::nullopt}, "1\n", "host"};
    const FrameworkContents after = {{"old", "copy"}, {"old", "copy"}, {"old", std::nullopt}, "1\n", "host"};

    const std::vector<RecoveryStep> steps = recoverySteps("/fw", now, after);

    ASSERT_EQ(steps.size(), 3U);
    EXPECT_EQ(steps[0].like, configuration);
    EXPECT_EQ(steps[1].like, list + ".tmp");
    EXPECT_EQ(steps[1].text, "put back " + list + " from " + list + ".tmp");
    EXPECT_EQ(steps[2].path, configuration + ".tmp");
    EXPECT_EQ(steps[2].content, "old");
    EXPECT_EQ(steps[2].like, configuration + ".tmp");
}

TEST_F(RecoverySteps, ExecuteWritesAndRemovesFiles)
{
    ::chmod(framework.list().c_str(), 0640);
    writeFile(framework.lock(), "");

    EXPECT_EQ(execute({framework.list(), "content", framework.list(), ""}), Lines());
    EXPECT_EQ(execute({framework.lock(), std::nullopt, "", ""}), Lines());

    EXPECT_EQ(readFile(framework.list()), "content");
    EXPECT_EQ(modeOf(framework.list()), 0640U);
    EXPECT_FALSE(exists(framework.lock()));
}

TEST_F(RecoverySteps, ExecuteReturnsAModeThatCannotBeSet)
{
    const FailingCall failing("fchmod", framework.list() + ".replacement", EPERM);

    EXPECT_EQ(execute({framework.list(), "content", framework.list(), ""}),
              Lines({"the mode of " + framework.list() + " could not be kept"}));
}

// ---- The copy ----

class CopyAside : public RecoverySteps
{
protected:
    CopyAside()
    {
        writeFile(framework.list(), "list");
        ::chmod(framework.list().c_str(), 0640);
        writeFile(framework.lock(), "");
        steps = {{framework.list(), "new", framework.list(), ""},
                 {framework.lock(), std::nullopt, "", ""},
                 {framework.session(), "new", "", ""}};
    }

    const std::string wanted = framework.path() + "/etc/recovery-STAMP";
    std::vector<RecoveryStep> steps;
};

TEST_F(CopyAside, CopiesWhatTheStepsReplaceOrRemove)
{
    EXPECT_EQ(copyAside(framework.path(), "STAMP", steps), wanted);

    EXPECT_EQ(modeOf(wanted), 0700U);
    EXPECT_EQ(readFile(wanted + "/model_file_list.cfg"), "list");
    EXPECT_EQ(modeOf(wanted + "/model_file_list.cfg"), 0640U);
    EXPECT_EQ(readFile(wanted + "/qor_mim_tool.lock"), "");
    EXPECT_FALSE(exists(wanted + "/cmdfifo.dat"));
    EXPECT_EQ(readFile(framework.list()), "list");
}

TEST_F(CopyAside, NumbersTheDirectoryWhenItsNameIsTaken)
{
    std::filesystem::create_directory(wanted);
    writeFile(wanted + "-2", "");

    EXPECT_EQ(copyAside(framework.path(), "STAMP", steps), wanted + "-3");
}

TEST_F(CopyAside, FailsOnAFullDiskWithTheSizeItNeeds)
{
    try
    {
        const FileSizeLimit limit(1);
        copyAside(framework.path(), "STAMP", steps);
        FAIL();
    }
    catch (const Poco::FileException& exc)
    {
        EXPECT_EQ(exc.code(), ENOSPC);
        EXPECT_EQ(exc.message(), "there is no room for the copy, which takes 4 bytes: " + wanted);
    }
    EXPECT_FALSE(exists(wanted));
    EXPECT_EQ(readFile(framework.list()), "list");
}

TEST_F(CopyAside, LeavesNothingWhenFsyncFails)
{
    const std::string copy = wanted + "/model_file_list.cfg";
    const std::vector<std::pair<std::string, std::string>> failures = {
        {copy, "File access error: Input/output error: " + copy}, {wanted, "Cannot write file: " + wanted + "/"}};
    for (const auto& [path, message] : failures)
    {
        const FailingCall failing("fsync", path, EIO);

        EXPECT_EQ(thrownBy([&] { copyAside(framework.path(), "STAMP", steps); }), message);

        EXPECT_EQ(failing.failures(), 1);
        EXPECT_FALSE(exists(wanted));
    }
}

TEST_F(CopyAside, LeavesNothingWhenTheParentsFsyncFails)
{
    const FailingCall failing("fsync", framework.path() + "/etc", EIO);

    EXPECT_EQ(thrownBy([&] { copyAside(framework.path(), "STAMP", steps); }),
              "Cannot write file: " + framework.path() + "/etc/");

    EXPECT_FALSE(exists(wanted));
}

TEST_F(CopyAside, ThrowsWithoutAParentDirectory)
{
    EXPECT_EQ(thrownBy([&] { copyAside(framework.path() + "/missing", "STAMP", steps); }),
              "Cannot create file: No such file or directory: " + framework.path() + "/missing/etc/recovery-STAMP");
}

TEST_F(CopyAside, ThrowsForAnUnreadableFile)
{
    putDirectoryAt(framework.lock());

    EXPECT_EQ(thrownBy([&] { copyAside(framework.path(), "STAMP", steps); }),
              "File access error: the file cannot be read: " + framework.lock());
    EXPECT_FALSE(exists(wanted));
}

} // namespace

} // namespace QMT::Test
