#include "ctl/UnlessBusy.h"

#include "support/LockHolder.h"
#include "support/TemporaryFramework.h"

#include <gtest/gtest.h>

#include <optional>

namespace QMT::Test
{

namespace
{

class UnlessBusy : public testing::Test
{
protected:
    /// Another caller has come.
    void enterCaller()
    {
        holder.emplace(framework.callerLock());
    }

    /// `answer` is busy with that caller.
    void expectBusy(const Answer& answer) const
    {
        EXPECT_EQ(answer.status, Status::BUSY);
        EXPECT_EQ(answer.error, holder->message());
    }

    const TemporaryFramework framework;
    std::optional<LockHolder> holder;
};

TEST_F(UnlessBusy, ReadReturnsTheAnswer)
{
    const Answer answer = readUnlessBusy(framework.path(), [] { return Answer::failure(Status::NO, "seen"); });

    EXPECT_EQ(answer.status, Status::NO);
    EXPECT_EQ(answer.error, "seen");
}

TEST_F(UnlessBusy, ReadsNothingWhileThereIsACaller)
{
    bool hasRead = false;
    const auto read = [&hasRead]
    {
        hasRead = true;
        return Answer();
    };
    enterCaller();

    expectBusy(readUnlessBusy(framework.path(), read));

    EXPECT_FALSE(hasRead);
}

TEST_F(UnlessBusy, ReadIsBusyWhenACallerComesMeanwhile)
{
    const auto read = [this]
    {
        enterCaller();
        return Answer();
    };

    expectBusy(readUnlessBusy(framework.path(), read));
}

} // namespace

} // namespace QMT::Test
