#include "ctl/Waiting.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

TEST(WaitUntil, AsksOnceWithZeroSeconds)
{
    int asked = 0;

    EXPECT_FALSE(waitUntil(deadlineIn(0), [&asked] { return ++asked > 1; }));

    EXPECT_EQ(asked, 1);
}

TEST(WaitUntil, ReturnsAtTheFirstYes)
{
    int asked = 0;

    EXPECT_TRUE(waitUntil(deadlineIn(600), [&asked] { return ++asked == 3; }));

    EXPECT_EQ(asked, 3);
}

TEST(WaitUntil, ReturnsFalseAfterTheTimeout)
{
    int asked = 0;

    EXPECT_FALSE(waitUntil(deadlineIn(1), [&asked] { return ++asked == 0; }));

    EXPECT_GT(asked, 1);
}

} // namespace

} // namespace QMT::Test
