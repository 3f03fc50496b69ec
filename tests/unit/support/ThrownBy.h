#ifndef QMT_TEST_ThrownBy_INCLUDED
#define QMT_TEST_ThrownBy_INCLUDED

#include <functional>
#include <string>

namespace QMT::Test
{

/// The text of the exception that `call` throws: the display text of one of the library's, what() of any other. Empty
/// when nothing is thrown.
std::string thrownBy(const std::function<void()>& call);

} // namespace QMT::Test

#endif // QMT_TEST_ThrownBy_INCLUDED
