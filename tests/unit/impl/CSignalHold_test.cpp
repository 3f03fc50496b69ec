#include "impl/CSignalHold.h"

#include <gtest/gtest.h>

#include <csignal>
#include <vector>

namespace QMT::Test
{

namespace
{

std::vector<int> arrived;

void note(int signal)
{
    arrived.push_back(signal);
}

/// Signals come in and are noted, instead of ending the test.
class SignalHold : public testing::TestWithParam<int>
{
protected:
    SignalHold()
    {
        arrived.clear();
        struct sigaction noting = {};
        noting.sa_handler = note;
        ::sigaction(GetParam(), &noting, &_before);
    }

    ~SignalHold() override
    {
        ::sigaction(GetParam(), &_before, nullptr);
    }

    SignalHold(const SignalHold&) = delete;
    SignalHold& operator=(const SignalHold&) = delete;
    SignalHold(SignalHold&&) = delete;
    SignalHold& operator=(SignalHold&&) = delete;

private:
    struct sigaction _before = {};
};

class EndingSignal : public SignalHold
{
};

class OtherSignal : public SignalHold
{
};

INSTANTIATE_TEST_SUITE_P(SignalHold, EndingSignal, testing::Values(SIGHUP, SIGINT, SIGQUIT, SIGTERM));
INSTANTIATE_TEST_SUITE_P(SignalHold, OtherSignal, testing::Values(SIGUSR1, SIGCHLD));

TEST_P(EndingSignal, TakesEffectWhenTheHoldIsGone)
{
    {
        const CSignalHold hold;
        ::raise(GetParam());
        EXPECT_EQ(arrived, std::vector<int>());
    }
    EXPECT_EQ(arrived, std::vector<int>{GetParam()});
}

TEST_P(EndingSignal, StaysHeldWhenItWasHeldBefore)
{
    {
        const CSignalHold outer;
        {
            const CSignalHold inner;
        }
        ::raise(GetParam());
        EXPECT_EQ(arrived, std::vector<int>());
    }
    EXPECT_EQ(arrived, std::vector<int>{GetParam()});
}

TEST_P(OtherSignal, TakesEffectAtOnce)
{
    const CSignalHold hold;

    ::raise(GetParam());

    EXPECT_EQ(arrived, std::vector<int>{GetParam()});
}

} // namespace

} // namespace QMT::Test
