#include "base/ChildProcess.h"

#include <Poco/Pipe.h>
#include <Poco/Process.h>

#include <fcntl.h>
#include <gtest/gtest.h>

#include <fstream>

namespace QMT::Test
{

namespace
{

TEST(ChildProcess, LaunchMergesStandardOutputAndError)
{
    Poco::Pipe pipe;
    std::string output;

    const int status = launchIntoPipe("/bin/sh", {"-c", "echo out; echo err >&2; echo $0", "last"}, pipe).wait();
    readPipe(pipe, output);

    EXPECT_EQ(status, 0);
    EXPECT_EQ(output, "out\nerr\nlast\n");
}

TEST(ChildProcess, ReadPipeAppendsTheOutput)
{
    Poco::Pipe pipe;
    std::string output = "before ";

    launchIntoPipe("/bin/echo", {"after"}, pipe).wait();
    readPipe(pipe, output);

    EXPECT_EQ(output, "before after\n");
}

TEST(ChildProcess, LaunchGrowsThePipeToTheSystemLimit)
{
    int limit = 0;
    std::ifstream("/proc/sys/fs/pipe-max-size") >> limit;
    Poco::Pipe pipe;

    launchIntoPipe("/bin/true", {}, pipe).wait();

    EXPECT_EQ(::fcntl(pipe.readHandle(), F_GETPIPE_SZ), limit);
}

TEST(ChildProcess, LaunchBuffersHalfAMegabyteOfUnreadOutput)
{
    Poco::Pipe pipe;
    std::string output;

    launchIntoPipe("/bin/sh", {"-c", "head -c 500000 /dev/zero | tr '\\0' x"}, pipe).wait();
    readPipe(pipe, output);

    EXPECT_EQ(output, std::string(500000, 'x'));
}

TEST(ChildProcess, LaunchEndsWithStatus72ForAMissingCommand)
{
    Poco::Pipe pipe;

    EXPECT_EQ(launchIntoPipe("/nonexistent/command", {}, pipe).wait(), 72);
}

} // namespace

} // namespace QMT::Test
