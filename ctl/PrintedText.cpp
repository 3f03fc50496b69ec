#include "ctl/PrintedText.h"

#include <Poco/NumberFormatter.h>
#include <Poco/String.h>
#include <Poco/UTF8Encoding.h>

#include <algorithm>

namespace QMT
{

namespace
{

const std::string REPLACEMENT_CHARACTER = "\xEF\xBF\xBD";

int sequenceLength(unsigned char lead)
{
    if (lead < 0x80)
    {
        return 1;
    }
    if (lead < 0xE0)
    {
        return 2;
    }
    return lead < 0xF0 ? 3 : 4;
}

/// The length of the UTF-8 character at `position`, or 0 when there is none.
std::size_t characterLength(const std::string& text, std::size_t position)
{
    // The library would read a truncated character beyond the end of the text.
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data()) + position;
    const int length = sequenceLength(*bytes);
    const bool isWhole = text.size() - position >= static_cast<std::size_t>(length);
    return isWhole && Poco::UTF8Encoding::isLegal(bytes, length) ? static_cast<std::size_t>(length) : 0;
}

// Most text is plain, and an answer may hold a great many names.

bool isAscii(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](unsigned char byte) { return byte < 0x80; });
}

bool isPlain(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](unsigned char byte) { return byte >= 0x20 && byte < 0x7F; });
}

std::string escaped(unsigned int character)
{
    switch (character)
    {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return "\\x" + Poco::toLower(Poco::NumberFormatter::formatHex(character, 2));
    }
}

} // namespace

std::string validUtf8(const std::string& text)
{
    if (isAscii(text))
    {
        return text;
    }
    std::string valid;
    for (std::size_t position = 0; position < text.size();)
    {
        const std::size_t length = characterLength(text, position);
        if (length == 0)
        {
            valid += REPLACEMENT_CHARACTER;
            ++position;
        }
        else
        {
            valid.append(text, position, length);
            position += length;
        }
    }
    return valid;
}

std::string printable(const std::string& text)
{
    if (isPlain(text))
    {
        return text;
    }
    const unsigned char C1_LEAD = 0xC2; // begins the two bytes of U+0080 to U+00BF; up to U+009F they are controls
    const std::string valid = validUtf8(text);
    std::string shown;
    for (std::size_t position = 0; position < valid.size(); ++position)
    {
        const auto byte = static_cast<unsigned char>(valid[position]);
        if (byte < 0x20 || byte == 0x7F)
        {
            shown += escaped(byte);
        }
        else if (byte == C1_LEAD && static_cast<unsigned char>(valid[position + 1]) < 0xA0)
        {
            shown += escaped(static_cast<unsigned char>(valid[++position]));
        }
        else
        {
            shown += valid[position];
        }
    }
    return shown;
}

std::string printableLines(const std::string& text)
{
    std::string shown;
    std::string::size_type begin = 0;
    while (begin < text.size())
    {
        const std::string::size_type end = std::min(text.find_first_of("\n\t", begin), text.size());
        shown += printable(text.substr(begin, end - begin));
        shown += text.substr(end, 1);
        begin = end + 1;
    }
    return shown;
}

} // namespace QMT
