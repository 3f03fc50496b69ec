#include "ctl/UndisturbedLook.h"

#include "support/LockHolder.h"
#include "support/TemporaryFramework.h"

#include <gtest/gtest.h>

#include <optional>

namespace QMT::Test
{

namespace
{

class UndisturbedLook : public testing::Test
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

TEST_F(UndisturbedLook, ReturnsTheAnswer)
{
    const Answer answer = lookUndisturbed(framework.path(), [] { return Answer::failure(Status::NO, "seen"); });

    EXPECT_EQ(answer.status, Status::NO);
    EXPECT_EQ(answer.error, "seen");
}

TEST_F(UndisturbedLook, DoesNotLookWhileThereIsACaller)
{
    bool hasLooked = false;
    const auto look = [&hasLooked]
    {
        hasLooked = true;
        return Answer();
    };
    enterCaller();

    expectBusy(lookUndisturbed(framework.path(), look));

    EXPECT_FALSE(hasLooked);
}

TEST_F(UndisturbedLook, IsBusyWhenACallerComesMeanwhile)
{
    const auto look = [this]
    {
        enterCaller();
        return Answer();
    };

    expectBusy(lookUndisturbed(framework.path(), look));
}

} // namespace

} // namespace QMT::Test
