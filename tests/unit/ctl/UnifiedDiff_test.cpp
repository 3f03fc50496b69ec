#include "ctl/UnifiedDiff.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace QMT::Test
{

namespace
{

using Lines = std::vector<std::string>;

const std::string NO_END = "\\ No newline at end of file\n";

std::string lines(int first, int last)
{
    std::string text;
    for (int number = first; number <= last; ++number)
    {
        text += std::to_string(number) + "\n";
    }
    return text;
}

Lines split(const std::string& text)
{
    Lines result;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
    {
        result.push_back(line + (stream.eof() ? "" : "\n"));
    }
    return result;
}

/// Applies `diff` to `before` as a patch program does, by the numbers in the hunks alone, and counts its changed lines.
std::string patched(const std::string& before, const std::string& diff, int* changes = nullptr)
{
    const Lines old = split(before);
    std::string result;
    std::size_t next = 0;
    for (const std::string& line : split(diff))
    {
        if (line.rfind("---", 0) == 0 || line.rfind("+++", 0) == 0)
        {
            continue;
        }
        const std::string rest = line.substr(1);
        switch (line.front())
        {
        case '@':
        {
            const std::size_t start = std::strtoul(line.c_str() + 4, nullptr, 10);
            const bool isEmpty = line.find(",0 +") != std::string::npos;
            while (next < start - (isEmpty || start == 0 ? 0 : 1))
            {
                result += old.at(next++);
            }
            break;
        }
        case '\\':
            if (!result.empty() && result.back() == '\n' && next == old.size())
            {
                result.pop_back();
            }
            break;
        case '+':
            result += rest;
            break;
        default:
            EXPECT_EQ(old.at(next), old.at(next).back() == '\n' ? rest : rest.substr(0, rest.size() - 1));
            result += line.front() == ' ' ? rest : "";
            ++next;
        }
        if (changes != nullptr && (line.front() == '+' || line.front() == '-'))
        {
            ++*changes;
        }
    }
    while (next < old.size())
    {
        result += old.at(next++);
    }
    return result;
}

TEST(UnifiedDiff, IsEmptyForEqualTexts)
{
    EXPECT_EQ(unifiedDiff("f", "", ""), "");
    EXPECT_EQ(unifiedDiff("f", "a\nb", "a\nb"), "");
}

TEST(UnifiedDiff, ShowsAChangeWithItsContext)
{
    EXPECT_EQ(unifiedDiff("f", lines(1, 9), lines(1, 4) + "new\n" + lines(6, 9)),
              "--- f\n+++ f\n@@ -2,7 +2,7 @@\n 2\n 3\n 4\n-5\n+new\n 6\n 7\n 8\n");
}

TEST(UnifiedDiff, ShowsAnAddedLineAtTheEnd)
{
    EXPECT_EQ(unifiedDiff("f", lines(1, 5), lines(1, 6)), "--- f\n+++ f\n@@ -3,3 +3,4 @@\n 3\n 4\n 5\n+6\n");
}

TEST(UnifiedDiff, StartsAtLineZeroForAnEmptyText)
{
    EXPECT_EQ(unifiedDiff("f", "", "a\n"), "--- f\n+++ f\n@@ -0,0 +1 @@\n+a\n");
    EXPECT_EQ(unifiedDiff("f", "a\nb\n", ""), "--- f\n+++ f\n@@ -1,2 +0,0 @@\n-a\n-b\n");
}

TEST(UnifiedDiff, JoinsHunksWhoseContextsMeet)
{
    const std::string before = lines(1, 20);

    EXPECT_EQ(unifiedDiff("f", before, lines(2, 7) + lines(9, 20)),
              "--- f\n+++ f\n@@ -1,11 +1,9 @@\n-1\n 2\n 3\n 4\n 5\n 6\n 7\n-8\n 9\n 10\n 11\n");
    EXPECT_EQ(unifiedDiff("f", before, lines(2, 8) + lines(10, 20)),
              "--- f\n+++ f\n@@ -1,4 +1,3 @@\n-1\n 2\n 3\n 4\n@@ -6,7 +5,6 @@\n 6\n 7\n 8\n-9\n 10\n 11\n 12\n");
}

TEST(UnifiedDiff, MarksALastLineWithoutLineFeed)
{
    EXPECT_EQ(unifiedDiff("f", "a", "a\n"), "--- f\n+++ f\n@@ -1 +1 @@\n-a\n" + NO_END + "+a\n");
    EXPECT_EQ(unifiedDiff("f", "a\n", "a\nb"), "--- f\n+++ f\n@@ -1 +1,2 @@\n a\n+b\n" + NO_END);
    EXPECT_EQ(unifiedDiff("f", "x\na", "a"), "--- f\n+++ f\n@@ -1,2 +1 @@\n-x\n a\n" + NO_END);
}

TEST(UnifiedDiff, FindsTheShortestDiffOfSmallTexts)
{
    int changes = 0;
    const std::string before = "a\nb\nc\na\nb\nb\na\n";
    const std::string after = "c\nb\na\nb\na\nc\n";

    EXPECT_EQ(patched(before, unifiedDiff("f", before, after), &changes), after);

    EXPECT_EQ(changes, 5);
}

TEST(UnifiedDiff, PatchesOneRandomTextIntoTheOther)
{
    std::mt19937 random(7); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts in every run
    for (int round = 0; round < 300; ++round)
    {
        std::string before;
        std::string after;
        const int alphabet = 1 + static_cast<int>(random() % 5);
        for (std::string* text : {&before, &after})
        {
            const int count = static_cast<int>(random() % 30);
            for (int line = 0; line < count; ++line)
            {
                *text += std::to_string(static_cast<int>(random()) % alphabet) + "\n";
            }
        }
        EXPECT_EQ(patched(before, unifiedDiff("f", before, after)), after) << before << "to\n" << after;
    }
}

TEST(UnifiedDiff, KeepsCommonLinesOfLargeDifferentTexts)
{
    // Every other line is another one, so the shortest difference is too long to search for.
    std::string before;
    std::string after;
    for (int number = 0; number < 3000; ++number)
    {
        before += "kept " + std::to_string(number) + "\nbefore\n";
        after += "kept " + std::to_string(number) + "\nafter\n";
    }
    int changes = 0;

    EXPECT_EQ(patched(before, unifiedDiff("f", before, after), &changes), after);

    EXPECT_EQ(changes, 6000);
}

TEST(UnifiedDiff, KeepsOneOfTwoLargeSwappedParts)
{
    int changes = 0;
    const std::string before = lines(1, 900);
    const std::string after = lines(401, 900) + lines(1, 400);

    EXPECT_EQ(patched(before, unifiedDiff("f", before, after), &changes), after);

    EXPECT_EQ(changes, 800);
}

TEST(UnifiedDiff, PatchesOneLargeRandomTextIntoTheOther)
{
    std::mt19937 random(7); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts in every run
    for (int round = 0; round < 20; ++round)
    {
        std::vector<std::string> parts;
        for (int part = 0; part < 200; ++part)
        {
            const int first = 10 * part;
            parts.push_back(lines(first, first + static_cast<int>(random() % 10)) + (part % 3 == 0 ? "same\n" : ""));
        }
        const auto joined = [&parts] { return std::accumulate(parts.begin(), parts.end(), std::string()); };
        const std::string before = joined();
        std::shuffle(parts.begin() + 10 * round, parts.end(), random);
        const std::string after = joined();

        EXPECT_EQ(patched(before, unifiedDiff("f", before, after)), after) << round;
    }
}

TEST(UnifiedDiff, ReplacesLargeTextsThatHaveNothingInCommon)
{
    std::string before;
    std::string after;
    for (int number = 0; number < 2000; ++number)
    {
        before += "before\n";
        after += "after\n";
    }
    EXPECT_EQ(patched(before, unifiedDiff("f", before, after)), after);
}

} // namespace

} // namespace QMT::Test
