#include "ctl/Waiting.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

TEST(WaitFor, AsksOnceWithZeroSeconds)
{
    int asked = 0;

    EXPECT_FALSE(waitFor(0, [&asked] { return ++asked > 1; }));

    EXPECT_EQ(asked, 1);
}

TEST(WaitFor, ReturnsAtTheFirstYes)
{
    int asked = 0;

    EXPECT_TRUE(waitFor(600, [&asked] { return ++asked == 3; }));

    EXPECT_EQ(asked, 3);
}

TEST(WaitFor, ReturnsFalseAfterTheTimeout)
{
    int asked = 0;

    EXPECT_FALSE(waitFor(1, [&asked] { return ++asked == 0; }));

    EXPECT_GT(asked, 1);
}

} // namespace

} // namespace QMT::Test
