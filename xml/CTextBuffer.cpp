#include "xml/CTextBuffer.h"

#include <algorithm>

namespace QMT
{

CTextBuffer::CTextBuffer(std::string::size_type expectedSize) : _text(expectedSize, '\0')
{
    setPutArea(0);
}

const std::string& CTextBuffer::text()
{
    const std::string::size_type written = size();
    _text.resize(written);
    setPutArea(written);
    return _text;
}

CTextBuffer::int_type CTextBuffer::overflow(int_type character)
{
    if (!traits_type::eq_int_type(character, traits_type::eof()))
    {
        const char byte = traits_type::to_char_type(character);
        xsputn(&byte, 1);
    }
    return traits_type::not_eof(character);
}

std::streamsize CTextBuffer::xsputn(const char* characters, std::streamsize count)
{
    if (count == 1 && pptr() != epptr())
    {
        *pptr() = *characters;
        pbump(1);
        return 1;
    }
    const std::string::size_type written = size();
    const std::string::size_type needed = written + static_cast<std::string::size_type>(count);
    if (needed > _text.size())
    {
        _text.resize(std::max(needed, 2 * written));
    }
    std::copy_n(characters, count, &_text[written]);
    setPutArea(needed);
    return count;
}

void CTextBuffer::setPutArea(std::string::size_type written)
{
    setp(&_text[written], _text.data() + _text.size());
}

std::string::size_type CTextBuffer::size() const
{
    return static_cast<std::string::size_type>(pptr() - _text.data());
}

} // namespace QMT
