#include "app/Process.h"

#include "support/CapturedOutput.h"
#include "support/CapturedSystemLog.h"
#include "support/FailingCall.h"
#include "support/ToolTest.h"

#include <Poco/Logger.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <iostream>
#include <stdexcept>

namespace QMT::Test
{

namespace
{

class Process : public ToolTest
{
protected:
    Process()
    {
        for (std::size_t i = 0; i < _signals.size(); ++i)
        {
            ::sigaction(_signals[i], nullptr, &_before[i]);
        }
    }

    ~Process() override
    {
        for (std::size_t i = 0; i < _signals.size(); ++i)
        {
            ::sigaction(_signals[i], &_before[i], nullptr);
        }
    }

    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    Process(Process&&) = delete;
    Process& operator=(Process&&) = delete;

    /// Runs the entry with one option and keeps what it writes to the console.
    int run(std::string option)
    {
        const CapturedSystemLog systemLog;
        const CapturedOutput output;
        const CapturedOutput captured(std::clog);
        std::string program = "/usr/sbin/qor_mim_tool";
        std::array<char*, 3> arguments = {program.data(), option.data(), nullptr};
        const int status = runProcess(2, arguments.data());
        console = captured.text();
        return status;
    }

    std::string console;

private:
    const std::array<int, 2> _signals = {SIGPIPE, SIGCHLD};
    std::array<struct sigaction, 2> _before = {};
};

TEST_F(Process, PrefixesLinesWithLoggerAndPriority)
{
    EXPECT_EQ(run("--status"), 0);

    EXPECT_EQ(console, "ConsoleLogger: Information: Exception\n"
                       "ConsoleLogger: Information: There are no pending actions.\n"
                       "ConsoleLogger: Information: Operation completed.\n");
}

TEST_F(Process, EndsWithTheDriversStatus)
{
    givenSession("0:/nonexistent/model.xml\n");

    EXPECT_EQ(run("--commit"), -1);
}

TEST_F(Process, EndsWithStatus78OnAnUnknownOption)
{
    EXPECT_EQ(run("--unknown"), 78);

    EXPECT_EQ(console, "ConsoleLogger: Information: Exception\n"
                       "Unknown option specified: unknown\n");
}

TEST_F(Process, LeavesNoLoggerBehind)
{
    EXPECT_EQ(run("--status"), 0);

    EXPECT_EQ(Poco::Logger::has("ConsoleLogger"), nullptr);
}

TEST_F(Process, CleansUpBeforeAnUnexpectedException)
{
#ifdef __arm__
    GTEST_SKIP() << "an exception cannot leave a C function on this architecture";
#endif
    // The construction asks whether there is a lock file, and then the option handler.
    const FailingCall failing("stat", framework.lock(), FailingCall::THROWS, 1);

    EXPECT_THROW(run("--status"), std::runtime_error);

    EXPECT_EQ(Poco::Logger::has("ConsoleLogger"), nullptr);
}

TEST_F(Process, CatchesSigpipe)
{
    EXPECT_EQ(run("--status"), 0);
    sigset_t open;
    ::sigemptyset(&open);
    ::sigaddset(&open, SIGPIPE);
    sigset_t before;
    ::sigprocmask(SIG_UNBLOCK, &open, &before);

    EXPECT_EQ(::raise(SIGPIPE), 0);

    ::sigprocmask(SIG_SETMASK, &before, nullptr);
    struct sigaction now = {};
    ::sigaction(SIGPIPE, nullptr, &now);
    EXPECT_NE(now.sa_handler, SIG_IGN);
}

TEST_F(Process, ResetsAnIgnoredSigchld)
{
    struct sigaction ignoring = {};
    ignoring.sa_handler = SIG_IGN;
    ::sigaction(SIGCHLD, &ignoring, nullptr);

    EXPECT_EQ(run("--status"), 0);

    struct sigaction now = {};
    ::sigaction(SIGCHLD, nullptr, &now);
    EXPECT_EQ(now.sa_handler, SIG_DFL);
}

TEST_F(Process, LeavesNoDescriptorOpen)
{
    const int free = ::dup(STDIN_FILENO);
    ::close(free);

    EXPECT_EQ(run("--status"), 0);

    const int freeNow = ::dup(STDIN_FILENO);
    ::close(freeNow);
    EXPECT_EQ(freeNow, free);
}

TEST_F(Process, OpensAClosedStandardStream)
{
    const int saved = ::dup(STDIN_FILENO);
    ::close(STDIN_FILENO);

    EXPECT_EQ(run("--status"), 0);

    const int flags = ::fcntl(STDIN_FILENO, F_GETFL);
    ::dup2(saved, STDIN_FILENO);
    ::close(saved);
    EXPECT_EQ(flags & O_ACCMODE, O_RDWR);
}

} // namespace

} // namespace QMT::Test
