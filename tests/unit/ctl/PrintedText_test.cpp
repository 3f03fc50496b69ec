#include "ctl/PrintedText.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

const std::string REPLACED = "\xEF\xBF\xBD";

TEST(ValidUtf8, KeepsCharactersOfEveryLength)
{
    const std::string text = "a\n\x7F\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";

    EXPECT_EQ(validUtf8(text), text);
}

TEST(ValidUtf8, KeepsTheFirstAndLastCharacterOfEachLength)
{
    const std::string text = "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";

    EXPECT_EQ(validUtf8(text), text);
}

TEST(ValidUtf8, ReplacesEveryInvalidByte)
{
    EXPECT_EQ(validUtf8("a\xFF"
                        "b"),
              "a" + REPLACED + "b");
    EXPECT_EQ(validUtf8("\x80"), REPLACED);
    EXPECT_EQ(validUtf8("\x80\xBF"), REPLACED + REPLACED);
    EXPECT_EQ(validUtf8("\xC0\xAF"), REPLACED + REPLACED);
    EXPECT_EQ(validUtf8("\xED\xA0\x80"), REPLACED + REPLACED + REPLACED);
    EXPECT_EQ(validUtf8("\xF5\x80\x80\x80"), REPLACED + REPLACED + REPLACED + REPLACED);
}

TEST(ValidUtf8, ReplacesATruncatedCharacter)
{
    EXPECT_EQ(validUtf8("\xE2\x82\""), REPLACED + REPLACED + "\"");
    EXPECT_EQ(validUtf8("\xE2\x82"), REPLACED + REPLACED);
    EXPECT_EQ(validUtf8("\xC3"), REPLACED);
    EXPECT_EQ(validUtf8("\xF0\x9F\x98"), REPLACED + REPLACED + REPLACED);
}

TEST(ValidUtf8, KeepsNul)
{
    EXPECT_EQ(validUtf8(std::string("a\0b", 3)), std::string("a\0b", 3));
}

TEST(Printable, EscapesControlCharacters)
{
    EXPECT_EQ(printable("a\nb\rc\td"), "a\\nb\\rc\\td");
    EXPECT_EQ(printable("\x1B[31m"), "\\x1b[31m");
    EXPECT_EQ(printable(std::string("\0\x1F\x7F", 3)), "\\x00\\x1f\\x7f");
    EXPECT_EQ(printable("\x1F"), "\\x1f");
    EXPECT_EQ(printable("\x7F"), "\\x7f");
}

TEST(Printable, EscapesControlCharactersOfTwoBytes)
{
    EXPECT_EQ(printable("\xC2\x80\xC2\x9F"), "\\x80\\x9f");
    EXPECT_EQ(printable("\xC2\xA0\xC3\x80"), "\xC2\xA0\xC3\x80");
}

TEST(Printable, ReplacesInvalidUtf8)
{
    EXPECT_EQ(printable("\xC2"), REPLACED);
    EXPECT_EQ(printable("a\x9B"), "a" + REPLACED);
}

TEST(Printable, KeepsEverythingElse)
{
    EXPECT_EQ(printable(" ~/\xE2\x82\xAC"), " ~/\xE2\x82\xAC");
}

TEST(PrintableLines, KeepsLineFeedsAndTabs)
{
    EXPECT_EQ(printableLines("a\tb\n\r\x1B\n\nc"), "a\tb\n\\r\\x1b\n\nc");
    EXPECT_EQ(printableLines("\n"), "\n");
    EXPECT_EQ(printableLines(""), "");
}

} // namespace

} // namespace QMT::Test
