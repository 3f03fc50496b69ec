#include "ctl/AlignedRows.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

TEST(AlignedRows, AlignsCellsInColumns)
{
    EXPECT_EQ(alignedRows({{"a", "bb", "c"}, {"aaa", "", "c"}, {"a"}}), "  a    bb  c\n"
                                                                        "  aaa      c\n"
                                                                        "  a\n");
}

TEST(AlignedRows, CountsCharactersNotBytes)
{
    EXPECT_EQ(alignedRows({{"ä€", "x"}, {"abc", "y"}}), "  ä€   x\n  abc  y\n");
}

TEST(AlignedRows, DoesNotWidenAColumnForAVeryLongCell)
{
    const std::string widest(60, 'w');
    const std::string longer(61, 'l');

    EXPECT_EQ(alignedRows({{widest, "x"}, {"a", "y"}}), "  " + widest + "  x\n  a" + std::string(61, ' ') + "y\n");
    EXPECT_EQ(alignedRows({{longer, "x"}, {"a", "y"}}), "  " + longer + "  x\n  a  y\n");
}

TEST(AlignedRows, ReturnsNothingForNoRows)
{
    EXPECT_EQ(alignedRows({}), "");
}

} // namespace

} // namespace QMT::Test
