#include "ctl/ContainedLines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <set>

namespace QMT::Test
{

namespace
{

using Pairs = std::vector<std::pair<std::string, std::string>>;

/// `count` lines of one to five letters, each a or b.
std::vector<std::string> randomLines(std::mt19937& random, std::size_t count)
{
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < count; ++i)
    {
        std::string line(1 + random() % 5, 'a');
        const auto isChosen = [&random](char) { return random() % 2 == 0; };
        std::replace_if(line.begin(), line.end(), isChosen, 'b');
        lines.push_back(line);
    }
    return lines;
}

TEST(ContainedLines, FindReturnsEachLineWithItsContainer)
{
    EXPECT_EQ(findContainedLines({"/m/ab.xml", "/m/a", "/x/m/ab.xml.old", "/n"}),
              (Pairs{{"/m/ab.xml", "/x/m/ab.xml.old"}, {"/m/a", "/m/ab.xml"}}));
}

TEST(ContainedLines, FindReturnsNothingForUnrelatedPaths)
{
    EXPECT_EQ(findContainedLines({"/m/a.xml", "/m/b.xml"}), Pairs());
    EXPECT_EQ(findContainedLines({}), Pairs());
}

TEST(ContainedLines, FindIgnoresRepeatedLines)
{
    EXPECT_EQ(findContainedLines({"/m/a", "/m/a"}), Pairs());
    EXPECT_EQ(findContainedLines({"/m/a", "/m/a", "/m/a.xml"}), (Pairs{{"/m/a", "/m/a.xml"}}));
}

TEST(ContainedLines, FindMatchesAtTheEndOfALine)
{
    EXPECT_EQ(findContainedLines({"a.xml", "/m/a.xml"}), (Pairs{{"a.xml", "/m/a.xml"}}));
}

TEST(ContainedLines, FindSkipsLinesLongerThanAPath)
{
    const std::string longest(PATH_MAX - 1, 'x');

    EXPECT_EQ(findContainedLines({"x", longest}), (Pairs{{"x", longest}}));
    EXPECT_EQ(findContainedLines({"x", longest + "x"}), Pairs());
}

TEST(ContainedLines, FindAgreesWithASearchOfEachInEach)
{
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same lines every time
    for (int round = 0; round < 500; ++round)
    {
        const std::vector<std::string> lines = randomLines(random, 1 + random() % 8);
        std::set<std::string> expected;
        for (const std::string& line : lines)
        {
            const auto containsIt = [&line](const std::string& other)
            { return other != line && other.find(line) != std::string::npos; };
            if (std::any_of(lines.begin(), lines.end(), containsIt))
            {
                expected.insert(line);
            }
        }

        std::set<std::string> found;
        for (const auto& [line, container] : findContainedLines(lines))
        {
            EXPECT_NE(line, container);
            EXPECT_NE(container.find(line), std::string::npos);
            EXPECT_TRUE(found.insert(line).second);
        }

        EXPECT_EQ(found, expected);
    }
}

} // namespace

} // namespace QMT::Test
