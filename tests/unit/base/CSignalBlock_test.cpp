#include "base/CSignalBlock.h"

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

/// Records the signals that arrive, instead of letting them end the test.
class SignalBlock : public testing::TestWithParam<int>
{
protected:
    SignalBlock()
    {
        arrived.clear();
        struct sigaction noting = {};
        noting.sa_handler = note;
        ::sigaction(GetParam(), &noting, &_before);
    }

    ~SignalBlock() override
    {
        ::sigaction(GetParam(), &_before, nullptr);
    }

    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;
    SignalBlock(SignalBlock&&) = delete;
    SignalBlock& operator=(SignalBlock&&) = delete;

private:
    struct sigaction _before = {};
};

class EndingSignal : public SignalBlock
{
};

class FaultSignal : public SignalBlock
{
};

// User-mode emulation keeps some of the last real-time signals for itself.
INSTANTIATE_TEST_SUITE_P(SignalBlock, EndingSignal,
                         testing::Values(SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM, SIGVTALRM,
                                         SIGPROF, SIGXCPU, SIGXFSZ, SIGIO, SIGPWR, SIGTSTP, SIGTTIN, SIGTTOU, SIGRTMIN,
                                         (SIGRTMIN + SIGRTMAX) / 2));
INSTANTIATE_TEST_SUITE_P(SignalBlock, FaultSignal,
                         testing::Values(SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP));

TEST_P(EndingSignal, IsDeliveredWhenTheBlockEnds)
{
    {
        const CSignalBlock block;
        ::raise(GetParam());
        EXPECT_EQ(arrived, std::vector<int>());
    }
    EXPECT_EQ(arrived, std::vector<int>{GetParam()});
}

TEST_P(EndingSignal, IsDeliveredWhenTheOuterBlockEnds)
{
    {
        const CSignalBlock outer;
        {
            const CSignalBlock inner;
        }
        ::raise(GetParam());
        EXPECT_EQ(arrived, std::vector<int>());
    }
    EXPECT_EQ(arrived, std::vector<int>{GetParam()});
}

TEST_P(FaultSignal, IsDeliveredAtOnce)
{
    const CSignalBlock block;

    ::raise(GetParam());

    EXPECT_EQ(arrived, std::vector<int>{GetParam()});
}

} // namespace

} // namespace QMT::Test
