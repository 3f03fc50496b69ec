#include "base/CSignalCatcher.h"

#include <gtest/gtest.h>

#include <csignal>

namespace QMT::Test
{

namespace
{

class CaughtSignal : public testing::TestWithParam<int>
{
protected:
    void SetUp() override
    {
        // A shell starts its background jobs with some of them ignored.
        ::signal(GetParam(), SIG_DFL);
    }
};

INSTANTIATE_TEST_SUITE_P(SignalCatcher, CaughtSignal,
                         testing::Values(SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGALRM, SIGUSR1, SIGUSR2, SIGVTALRM,
                                         SIGPROF, SIGXCPU, SIGXFSZ, SIGIO, SIGPWR));

TEST_P(CaughtSignal, IsRecorded)
{
    const CSignalCatcher catcher;
    EXPECT_EQ(CSignalCatcher::caught(), 0);

    ASSERT_EQ(::raise(GetParam()), 0);

    EXPECT_EQ(CSignalCatcher::caught(), GetParam());
}

TEST_P(CaughtSignal, StaysIgnored)
{
    ::signal(GetParam(), SIG_IGN);
    {
        const CSignalCatcher catcher;

        ASSERT_EQ(::raise(GetParam()), 0);

        EXPECT_EQ(CSignalCatcher::caught(), 0);
    }
    EXPECT_EQ(::signal(GetParam(), SIG_DFL), SIG_IGN);
}

TEST(SignalCatcher, CaughtReturnsTheFirstSignal)
{
    const CSignalCatcher catcher;

    ASSERT_EQ(::raise(SIGTERM), 0);
    ASSERT_EQ(::raise(SIGHUP), 0);

    EXPECT_EQ(CSignalCatcher::caught(), SIGTERM);
}

TEST(SignalCatcher, DestructorRestoresHandlersAndForgetsTheSignal)
{
    {
        const CSignalCatcher catcher;
        ASSERT_EQ(::raise(SIGTERM), 0);
    }
    EXPECT_EQ(::signal(SIGTERM, SIG_DFL), SIG_DFL);

    const CSignalCatcher catcher;
    EXPECT_EQ(CSignalCatcher::caught(), 0);
}

} // namespace

} // namespace QMT::Test
