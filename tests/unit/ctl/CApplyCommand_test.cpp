#include "ctl/CApplyCommand.h"

#include "support/CommandRun.h"
#include "support/FailingCall.h"
#include "support/FakeHostName.h"
#include "support/FakeInstallation.h"
#include "support/Files.h"
#include "support/LockHolder.h"
#include "support/TemporaryFramework.h"
#include "support/ThrownBy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <thread>
#include <unistd.h>

namespace QMT::Test
{

namespace
{

using Lines = std::vector<std::string>;

/// Calls on the host "alpha", on a framework whose only handler is the placeholder and whose list is empty.
class ApplyCommand : public testing::Test
{
protected:
    Answer apply(const OptionValues& options) const
    {
        CApplyCommand command;
        return runCommand(command, options, framework.path());
    }

    void expectUnchanged() const
    {
        framework.expectLive(TemporaryFramework::PLACEHOLDER_CONFIGURATION, "");
        EXPECT_FALSE(exists(framework.list(".bak")));
        EXPECT_FALSE(exists(framework.list(".tmp")));
    }

    const TemporaryFramework framework;
    const FakeInstallation installation;
    const FakeHostName host{"alpha"};
    const std::string pump = framework.model("pump.xml", "Pump");
};

TEST_F(ApplyCommand, InstallsAllActions)
{
    const std::string pipe = framework.model("pipe.xml", "Pipe");
    installation.setValidator("echo fine");

    const Answer answer = apply({{"add", pump}, {"add", pump}, {"add", pipe}});

    EXPECT_EQ(answer.status, Status::YES);
    EXPECT_EQ(valueOf(answer, "result"), "applied");
    EXPECT_EQ(resultsOf(answer), (Lines{"done", "skipped", "done"}));
    EXPECT_EQ(valueOf(answer, "validator"), "accepted");
    EXPECT_EQ(valueOf(answer, "report"), "fine\n");
    EXPECT_EQ(answer.keys.getArray("warnings")->size(), 0U);
    EXPECT_EQ(answer.error, "");
    framework.expectLive(TemporaryFramework::PLACEHOLDER_CONFIGURATION, pump + "\n" + pipe + "\n");
    framework.expectBackups(TemporaryFramework::PLACEHOLDER_CONFIGURATION, "");
    EXPECT_FALSE(exists(framework.lock()));
}

TEST_F(ApplyCommand, SkipsActionsInEffect)
{
    const Answer answer = apply({{"remove", pump}});

    EXPECT_EQ(answer.status, Status::YES);
    EXPECT_EQ(valueOf(answer, "result"), "unchanged");
    EXPECT_EQ(resultsOf(answer), Lines{"skipped"});
    EXPECT_EQ(valueOf(answer, "validator"), "not-asked");
    EXPECT_EQ(answer.keys.getArray("warnings")->size(), 0U);
    expectUnchanged();
}

TEST_F(ApplyCommand, RefusesAllWhenOneActionFails)
{
    const Answer answer = apply({{"add", pump}, {"add", "/none.xml"}});

    EXPECT_EQ(answer.status, Status::NO);
    EXPECT_EQ(valueOf(answer, "result"), "refused");
    EXPECT_EQ(resultsOf(answer), (Lines{"done", "failed"}));
    EXPECT_EQ(valueOf(answer, "validator"), "not-asked");
    EXPECT_EQ(answer.error, "failed: --addModelFile=/none.xml");
    expectUnchanged();
}

TEST_F(ApplyCommand, UndoesWhenTheValidatorRejects)
{
    installation.setValidator("echo no; exit 1");

    const Answer answer = apply({{"add", pump}});

    EXPECT_EQ(answer.status, Status::NO);
    EXPECT_EQ(valueOf(answer, "result"), "rejected");
    EXPECT_EQ(valueOf(answer, "validator"), "rejected");
    EXPECT_EQ(valueOf(answer, "report"), "no\n");
    EXPECT_EQ(answer.error, "the validator rejected the list, and the previous files are back");
    EXPECT_FALSE(exists(framework.lock()));
    expectUnchanged();
}

TEST_F(ApplyCommand, KeepsTheQueueForRecoverWhenItsUndoFails)
{
    const std::string pipe = framework.model("pipe.xml", "Pipe");
    const std::string error = "File access error: Input/output error: " + framework.list();
    installation.setValidator("exit 1");
    const FailingCall failing("rename", framework.list(), EIO, 1);

    EXPECT_EQ(thrownBy([&] { apply({{"add", pump}, {"add", pump}, {"add", pipe}}); }),
              error + "; the previous files could not be put back: " + error + "; call qor_mim_ctl recover");

    EXPECT_EQ(readFile(framework.session()), "0:" + pump + "\n0:" + pipe + "\n");
    EXPECT_EQ(readFile(framework.lock()), "qor_mim_ctl@alpha");
}

TEST_F(ApplyCommand, WarnsOfLostAttributes)
{
    const FailingCall failing("fchmod", framework.list() + ".replacement", EPERM);
    const std::string warning = "the mode of " + framework.list() + " could not be kept";
    installation.setValidator("exit 0");

    const Answer answer = apply({{"add", pump}});

    EXPECT_EQ(answer.status, Status::YES);
    ASSERT_EQ(answer.keys.getArray("warnings")->size(), 1U);
    EXPECT_EQ(answer.keys.getArray("warnings")->getElement<std::string>(0), warning);
    EXPECT_EQ(std::count(answer.messages.begin(), answer.messages.end(), "warning: " + warning), 1);
}

TEST_F(ApplyCommand, IsBusyWhileASessionIsOpen)
{
    const std::vector<std::pair<std::string, std::string>> sessions = {
        {"beta", "the host beta has a session open"},
        {"", "an unknown host has a session open"},
        {"qor_mim_ctl@beta", "an apply of the host beta was interrupted: call qor_mim_ctl recover"},
        {"qor_mim_ctl@alpha", "an apply of the host alpha was interrupted: call qor_mim_ctl recover"}};
    for (const auto& [lock, error] : sessions)
    {
        writeFile(framework.lock(), lock);

        const Answer answer = apply({{"add", pump}});

        EXPECT_EQ(answer.status, Status::BUSY);
        EXPECT_EQ(answer.error, error);
        EXPECT_EQ(readFile(framework.lock()), lock);
    }
    expectUnchanged();
}

TEST_F(ApplyCommand, DoesNotWaitForAnInterruptedApply)
{
    writeFile(framework.lock(), "qor_mim_ctl@beta");

    EXPECT_EQ(apply({{"add", pump}, {"wait", "600"}}).status, Status::BUSY);
}

TEST_F(ApplyCommand, IsBusyWhileAnotherCallerHoldsTheLock)
{
    const LockHolder holder(framework.callerLock());

    const Answer answer = apply({{"add", pump}});

    EXPECT_EQ(answer.status, Status::BUSY);
    EXPECT_EQ(answer.error, holder.message());
    expectUnchanged();
}

/// Asks this process to end as soon as it catches that.
void endWhenCaught()
{
    struct sigaction now = {};
    while (::sigaction(SIGTERM, nullptr, &now) == 0 && now.sa_handler == SIG_DFL)
    {
        std::this_thread::yield();
    }
    ::kill(::getpid(), SIGTERM);
}

TEST_F(ApplyCommand, EndsOnASignalWhileWaiting)
{
    for (const bool isCallerAwaited : {true, false})
    {
        std::optional<LockHolder> holder;
        if (isCallerAwaited)
        {
            holder.emplace(framework.callerLock());
        }
        writeFile(framework.lock(), "beta");
        std::thread sender(endWhenCaught);

        const Answer answer = apply({{"add", pump}, {"wait", "600"}});

        sender.join();
        EXPECT_EQ(answer.status, Status::CANNOT);
        EXPECT_EQ(answer.error, "ended by a signal, and nothing was done");
    }
    expectUnchanged();
}

TEST_F(ApplyCommand, WaitsAShortTimeForASession)
{
    writeFile(framework.lock(), "beta");
    // Only the first look at the session succeeds.
    const FailingCall failing("fopen", framework.lock(), EIO, 1);

    EXPECT_EQ(thrownBy([&] { apply({{"add", pump}, {"wait", "1"}}); }),
              "File access error: the file cannot be read: " + framework.lock());
}

TEST_F(ApplyCommand, ReportsASessionThatOpensMeanwhile)
{
    // The lock file was not there when it was looked for.
    const FailingCall failing("open", framework.lock(), EEXIST);

    const Answer answer = apply({{"add", pump}});

    EXPECT_EQ(answer.status, Status::BUSY);
    EXPECT_EQ(answer.error, "another session was opened meanwhile");
}

TEST_F(ApplyCommand, ThrowsWithoutALiveFile)
{
    std::filesystem::remove(framework.configuration());

    EXPECT_EQ(thrownBy([&] { apply({{"add", pump}}); }), "File not found: " + framework.configuration());
}

TEST_F(ApplyCommand, CheckOptionsThrowsWithoutAnAction)
{
    CApplyCommand command;
    command.takeOption("wait", "1");

    EXPECT_EQ(thrownBy([&] { command.checkOptions(); }),
              "Syntax error: There is nothing to apply: --add or --remove is missing");
}

TEST_F(ApplyCommand, TakeOptionThrowsForAnInvalidWait)
{
    EXPECT_EQ(thrownBy([&] { CApplyCommand().takeOption("wait", "x"); }),
              "Syntax error: The value of --wait is no number of seconds: x");
}

} // namespace

} // namespace QMT::Test
