#include "xml/CTextBuffer.h"

namespace QMT
{

CTextBuffer::CTextBuffer(std::string::size_type expectedSize)
{
    _text.reserve(expectedSize);
}

const std::string& CTextBuffer::text() const
{
    return _text;
}

CTextBuffer::int_type CTextBuffer::overflow(int_type character)
{
    if (!traits_type::eq_int_type(character, traits_type::eof()))
    {
        _text.push_back(traits_type::to_char_type(character));
    }
    return traits_type::not_eof(character);
}

std::streamsize CTextBuffer::xsputn(const char* characters, std::streamsize count)
{
    if (count == 1)
    {
        _text.push_back(*characters);
    }
    else
    {
        _text.append(characters, static_cast<std::string::size_type>(count));
    }
    return count;
}

} // namespace QMT
