#include "xml/CTextBuffer.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <string>

namespace QMT::Test
{

namespace
{

class TextBuffer : public testing::Test
{
protected:
    CTextBuffer buffer{4};
    std::ostream stream{&buffer};
};

TEST_F(TextBuffer, IsEmptyAtFirst)
{
    EXPECT_EQ(buffer.text(), "");
}

TEST_F(TextBuffer, CollectsBytesAndTextsInOrder)
{
    stream.write("a", 1);
    stream.write("bcd", 3);
    stream.put('e');
    stream.write("", 0);

    EXPECT_EQ(buffer.text(), "abcde");
    EXPECT_TRUE(stream.good());
}

TEST_F(TextBuffer, OutgrowsTheExpectedSize)
{
    const std::string text(10000, 'x');

    stream << text << text;

    EXPECT_EQ(buffer.text(), text + text);
}

TEST_F(TextBuffer, AppendsAfterTheTextWasTaken)
{
    stream.write("a", 1);
    buffer.text();

    stream.write("b", 1);
    stream.write("cdefg", 5);

    EXPECT_EQ(buffer.text(), "abcdefg");
}

TEST_F(TextBuffer, KeepsBytesOfAnyValue)
{
    stream.put('\xff').put('\0');
    stream.write("\xff", 1);

    EXPECT_EQ(buffer.text(), std::string("\xff\0\xff", 3));
}

TEST_F(TextBuffer, TurnsTheStreamBadForAnOversizedText)
{
    // The length is refused before a byte is read.
    stream.write("x", std::numeric_limits<std::streamsize>::max());

    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(buffer.text(), "");
}

} // namespace

} // namespace QMT::Test
