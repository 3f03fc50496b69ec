#ifndef QMT_TEST_Repeat_INCLUDED
#define QMT_TEST_Repeat_INCLUDED

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

} // namespace QMT::Test

#endif // QMT_TEST_Repeat_INCLUDED
