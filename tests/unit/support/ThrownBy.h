#ifndef QMT_TEST_ThrownBy_INCLUDED
#define QMT_TEST_ThrownBy_INCLUDED

#include <functional>
#include <string>

namespace QMT::Test
{

/// What the exception that `call` throws says: one of the library's its kind and its message, any other its text. Empty
/// when there is none.
std::string thrownBy(const std::function<void()>& call);

} // namespace QMT::Test

#endif // QMT_TEST_ThrownBy_INCLUDED
