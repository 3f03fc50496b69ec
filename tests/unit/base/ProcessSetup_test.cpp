#include "base/ProcessSetup.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace QMT::Test
{

namespace
{

/// Puts the handling of the signals back.
class ProcessSetup : public testing::Test
{
protected:
    ProcessSetup()
    {
        ::sigaction(SIGPIPE, nullptr, &_sigpipe);
        ::sigaction(SIGCHLD, nullptr, &_sigchld);
    }

    ~ProcessSetup() override
    {
        ::sigaction(SIGPIPE, &_sigpipe, nullptr);
        ::sigaction(SIGCHLD, &_sigchld, nullptr);
    }

    ProcessSetup(const ProcessSetup&) = delete;
    ProcessSetup& operator=(const ProcessSetup&) = delete;
    ProcessSetup(ProcessSetup&&) = delete;
    ProcessSetup& operator=(ProcessSetup&&) = delete;

private:
    struct sigaction _sigpipe = {};
    struct sigaction _sigchld = {};
};

/// What the first descriptors are open on; empty for those that are closed.
std::vector<std::string> openFiles()
{
    std::vector<std::string> files;
    for (int file = 0; file < 16; ++file)
    {
        std::error_code closed;
        files.push_back(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file), closed).string());
    }
    return files;
}

TEST_F(ProcessSetup, CatchesSigpipe)
{
    ::signal(SIGPIPE, SIG_DFL);

    setUpProcess();

    EXPECT_EQ(::raise(SIGPIPE), 0);
    struct sigaction now = {};
    ::sigaction(SIGPIPE, nullptr, &now);
    EXPECT_NE(now.sa_handler, SIG_IGN);
}

TEST_F(ProcessSetup, ResetsSigchld)
{
    ::signal(SIGCHLD, SIG_IGN);

    setUpProcess();

    const int child = ::fork();
    if (child == 0)
    {
        ::_exit(7);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST_F(ProcessSetup, LeavesOpenStreamsAlone)
{
    const std::vector<std::string> before = openFiles();

    setUpProcess();

    EXPECT_EQ(openFiles(), before);
}

/// Ends the process: with 0 when only the streams that had been closed were opened, on the null device.
[[noreturn]] void openClosedStreams(const std::vector<int>& streams)
{
    std::vector<std::string> expected = openFiles();
    for (const int stream : streams)
    {
        ::close(stream);
        expected[static_cast<std::size_t>(stream)] = "/dev/null";
    }
    setUpProcess();
    ::_exit(openFiles() == expected ? 0 : 1);
}

TEST(ProcessSetupDeathTest, OpensClosedStreamsOnTheNullDevice)
{
    EXPECT_EXIT(openClosedStreams({0, 1, 2}), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(openClosedStreams({1}), testing::ExitedWithCode(0), "");
}

} // namespace

} // namespace QMT::Test
