#include "ctl/TornText.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

std::string nul(std::size_t count)
{
    return std::string(count, '\0');
}

TEST(PrefixOf, IsProper)
{
    EXPECT_TRUE(isPrefixOf("", "abc"));
    EXPECT_TRUE(isPrefixOf("ab", "abc"));
    EXPECT_FALSE(isPrefixOf("abc", "abc"));
    EXPECT_FALSE(isPrefixOf("abcd", "abc"));
    EXPECT_FALSE(isPrefixOf("ac", "abc"));
    EXPECT_FALSE(isPrefixOf("", ""));
}

TEST(NulFilledFrom, IsAPrefixFilledUp)
{
    EXPECT_TRUE(isNulFilledFrom("ab" + nul(1), "abc"));
    EXPECT_TRUE(isNulFilledFrom(nul(3), "abc"));
    EXPECT_TRUE(isNulFilledFrom("a" + nul(1), "abc"));
    EXPECT_TRUE(isNulFilledFrom("abc" + nul(5), "abc"));
}

TEST(NulFilledFrom, MayHaveGaps)
{
    EXPECT_TRUE(isNulFilledFrom(nul(1) + "bc", "abc"));
    EXPECT_TRUE(isNulFilledFrom("a" + nul(1) + "c", "abc"));
}

TEST(NulFilledFrom, HasNothingElse)
{
    EXPECT_FALSE(isNulFilledFrom("x" + nul(2), "abc"));
    EXPECT_FALSE(isNulFilledFrom(nul(3) + "d", "abc"));
    EXPECT_FALSE(isNulFilledFrom("ab", "abc"));
    EXPECT_FALSE(isNulFilledFrom("abc", "abc"));
}

TEST(NulFilledFrom, SaysNothingOfATextWithNul)
{
    EXPECT_FALSE(isNulFilledFrom("a" + nul(1), "a" + nul(1) + "b"));
}

TEST(CutFrom, IsEither)
{
    EXPECT_TRUE(isCutFrom("a", "abc"));
    EXPECT_TRUE(isCutFrom("a" + nul(1), "abc"));
    EXPECT_FALSE(isCutFrom("abc", "abc"));
}

TEST(EndsInsideLine, NeedsALine)
{
    EXPECT_TRUE(endsInsideLine("a"));
    EXPECT_TRUE(endsInsideLine("a\nb"));
    EXPECT_FALSE(endsInsideLine("a\n"));
    EXPECT_FALSE(endsInsideLine(""));
}

TEST(LinesOf, LeavesOutEmptyOnes)
{
    EXPECT_EQ(linesOf("a\n\n b \nc"), std::vector<std::string>({"a", " b ", "c"}));
    EXPECT_EQ(linesOf(""), std::vector<std::string>());
}

TEST(CompleteLines, EndWithALineFeed)
{
    EXPECT_EQ(completeLines("0:/a\n2:/b\n"), "0:/a\n2:/b\n");
    EXPECT_EQ(completeLines("0:/a\n2:/"), "0:/a\n");
    EXPECT_EQ(completeLines("0:/a"), "");
    EXPECT_EQ(completeLines(""), "");
}

TEST(CompleteLines, HoldNoNul)
{
    EXPECT_EQ(completeLines("0:/a\n2:/" + nul(3)), "0:/a\n");
    EXPECT_EQ(completeLines("0:/a\n2:" + nul(1) + "\n0:/c\n"), "0:/a\n");
    EXPECT_EQ(completeLines(nul(4)), "");
}

TEST(CompleteLines, AreNoneWithoutAnAction)
{
    EXPECT_EQ(completeLines("\n \t\r\n"), "");
}

} // namespace

} // namespace QMT::Test
