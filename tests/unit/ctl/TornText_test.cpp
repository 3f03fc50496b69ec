#include "ctl/TornText.h"

#include "support/Texts.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

TEST(IsPrefixOf, IsTrueForProperPrefixesOnly)
{
    EXPECT_TRUE(isPrefixOf("", "abc"));
    EXPECT_TRUE(isPrefixOf("ab", "abc"));
    EXPECT_FALSE(isPrefixOf("abc", "abc"));
    EXPECT_FALSE(isPrefixOf("abcd", "abc"));
    EXPECT_FALSE(isPrefixOf("ac", "abc"));
    EXPECT_FALSE(isPrefixOf("", ""));
}

TEST(IsNulFilledFrom, IsTrueForAPaddedPrefix)
{
    EXPECT_TRUE(isNulFilledFrom("ab" + nul(1), "abc"));
    EXPECT_TRUE(isNulFilledFrom(nul(3), "abc"));
    EXPECT_TRUE(isNulFilledFrom("a" + nul(1), "abc"));
    EXPECT_TRUE(isNulFilledFrom("abc" + nul(5), "abc"));
}

TEST(IsNulFilledFrom, IsTrueForGaps)
{
    EXPECT_TRUE(isNulFilledFrom(nul(1) + "bc", "abc"));
    EXPECT_TRUE(isNulFilledFrom("a" + nul(1) + "c", "abc"));
}

TEST(IsNulFilledFrom, IsFalseForOtherBytesOrWithoutNul)
{
    EXPECT_FALSE(isNulFilledFrom("x" + nul(2), "abc"));
    EXPECT_FALSE(isNulFilledFrom(nul(3) + "d", "abc"));
    EXPECT_FALSE(isNulFilledFrom("ab", "abc"));
    EXPECT_FALSE(isNulFilledFrom("abc", "abc"));
}

TEST(IsNulFilledFrom, IsFalseForAnOriginalWithNul)
{
    EXPECT_FALSE(isNulFilledFrom("a" + nul(1), "a" + nul(1) + "b"));
}

TEST(IsTornCopyOf, IsTrueForAPrefixOrPadding)
{
    EXPECT_TRUE(isTornCopyOf("a", "abc"));
    EXPECT_TRUE(isTornCopyOf("a" + nul(1), "abc"));
    EXPECT_FALSE(isTornCopyOf("abc", "abc"));
}

TEST(EndsInsideLine, IsTrueWithoutALastLineFeed)
{
    EXPECT_TRUE(endsInsideLine("a"));
    EXPECT_TRUE(endsInsideLine("a\nb"));
    EXPECT_FALSE(endsInsideLine("a\n"));
    EXPECT_FALSE(endsInsideLine(""));
}

TEST(LinesOf, SkipsEmptyLines)
{
    EXPECT_EQ(linesOf("a\n\n b \nc"), std::vector<std::string>({"a", " b ", "c"}));
    EXPECT_EQ(linesOf(""), std::vector<std::string>());
}

TEST(CompleteLines, DropsALastLineWithoutALineFeed)
{
    EXPECT_EQ(completeLines("0:/a\n2:/b\n"), "0:/a\n2:/b\n");
    EXPECT_EQ(completeLines("0:/a\n2:/"), "0:/a\n");
    EXPECT_EQ(completeLines("0:/a"), "");
    EXPECT_EQ(completeLines(""), "");
}

TEST(CompleteLines, StopsBeforeTheLineOfTheFirstNul)
{
    EXPECT_EQ(completeLines("0:/a\n2:/" + nul(3)), "0:/a\n");
    EXPECT_EQ(completeLines("0:/a\n2:" + nul(1) + "\n0:/c\n"), "0:/a\n");
    EXPECT_EQ(completeLines(nul(4)), "");
}

TEST(CompleteLines, ReturnsNothingWithoutAnAction)
{
    EXPECT_EQ(completeLines("\n \t\r\v\f\n"), "");
    EXPECT_EQ(completeLines("~\n"), "~\n");
}

} // namespace

} // namespace QMT::Test
