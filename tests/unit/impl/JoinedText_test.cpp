#include "impl/JoinedText.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

TEST(JoinedText, IsEmptyWithoutWords)
{
    EXPECT_EQ(joinedText({}, "|"), "");
}

TEST(JoinedText, HasNoSeparatorAroundASingleWord)
{
    EXPECT_EQ(joinedText({"one"}, "|"), "one");
}

TEST(JoinedText, HasTheSeparatorBetweenEachTwoWords)
{
    EXPECT_EQ(joinedText({"one", "two", "three"}, ", "), "one, two, three");
}

TEST(JoinedText, KeepsTheSeparatorsAroundEmptyWords)
{
    EXPECT_EQ(joinedText({"", "a", "", ""}, "|"), "|a||");
}

} // namespace

} // namespace QMT::Test
