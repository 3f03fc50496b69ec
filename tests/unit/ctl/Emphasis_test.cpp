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

    /// An error and a warning as they are shown where standard output is `output`, which is closed then.
    static std::string shownOn(int output)
    {
        const int before = ::dup(STDOUT_FILENO);
        ::dup2(output, STDOUT_FILENO);
        ::close(output);
        std::string shown = asError("e") + asWarning("w");
        ::dup2(before, STDOUT_FILENO);
        ::close(before);
        return shown;
    }

    static std::string shownOnTerminal()
    {
        const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
        EXPECT_EQ(::grantpt(master) + ::unlockpt(master), 0);
        std::string shown = shownOn(::open(::ptsname(master), O_RDWR | O_NOCTTY));
        ::close(master);
        return shown;
    }
};

TEST_F(Emphasis, ColoursATerminal)
{
    EXPECT_EQ(shownOnTerminal(), "\x1b[1;31me\x1b[0m\x1b[33mw\x1b[0m");
}

TEST_F(Emphasis, LeavesOtherOutputPlain)
{
    EXPECT_EQ(shownOn(::open("/dev/null", O_RDWR)), "ew");
}

TEST_F(Emphasis, ObeysNoColor)
{
    ::setenv("NO_COLOR", "1", 1);

    EXPECT_EQ(shownOnTerminal(), "ew");

    ::unsetenv("NO_COLOR");
}

TEST_F(Emphasis, LeavesADumbTerminalPlain)
{
    ::setenv("TERM", "dumb", 1);

    EXPECT_EQ(shownOnTerminal(), "ew");
    ::unsetenv("TERM");
    EXPECT_EQ(shownOnTerminal(), "\x1b[1;31me\x1b[0m\x1b[33mw\x1b[0m");
}

} // namespace

} // namespace QMT::Test
