#include "ctl/Emphasis.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace QMT::Test
{

namespace
{

class Emphasis : public testing::Test
{
protected:
    Emphasis()
    {
        ::unsetenv("NO_COLOR");
        ::setenv("TERM", "xterm", 1);
    }

    /// An error as it is shown where standard output is `output`, which is closed then.
    static std::string errorOn(int output)
    {
        const int before = ::dup(STDOUT_FILENO);
        ::dup2(output, STDOUT_FILENO);
        ::close(output);
        std::string shown = asError("e");
        ::dup2(before, STDOUT_FILENO);
        ::close(before);
        return shown;
    }

    static std::string errorOnTerminal()
    {
        const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
        EXPECT_EQ(::grantpt(master) + ::unlockpt(master), 0);
        std::string shown = errorOn(::open(::ptsname(master), O_RDWR | O_NOCTTY));
        ::close(master);
        return shown;
    }
};

TEST_F(Emphasis, ColoursATerminal)
{
    EXPECT_EQ(errorOnTerminal(), "\x1b[1;31me\x1b[0m");
}

TEST_F(Emphasis, LeavesOtherOutputPlain)
{
    EXPECT_EQ(errorOn(::open("/dev/null", O_RDWR)), "e");
}

TEST_F(Emphasis, ObeysNoColor)
{
    ::setenv("NO_COLOR", "1", 1);

    EXPECT_EQ(errorOnTerminal(), "e");

    ::unsetenv("NO_COLOR");
}

TEST_F(Emphasis, LeavesADumbTerminalPlain)
{
    ::setenv("TERM", "dumb", 1);

    EXPECT_EQ(errorOnTerminal(), "e");
    ::unsetenv("TERM");
    EXPECT_EQ(errorOnTerminal(), "\x1b[1;31me\x1b[0m");
}

} // namespace

} // namespace QMT::Test
