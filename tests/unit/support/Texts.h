#ifndef QMT_TEST_Texts_INCLUDED
#define QMT_TEST_Texts_INCLUDED

#include <cstddef>
#include <string>

namespace QMT::Test
{

/// `text`, `times` times.
inline std::string repeat(const std::string& text, std::size_t times)
{
    std::string all;
    for (std::size_t i = 0; i < times; ++i)
    {
        all += text;
    }
    return all;
}

/// `count` zero bytes: what some file systems leave of lost data.
inline std::string nul(std::size_t count)
{
    return std::string(count, '\0');
}

} // namespace QMT::Test

#endif // QMT_TEST_Texts_INCLUDED
