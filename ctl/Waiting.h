#ifndef QMT_Waiting_INCLUDED
#define QMT_Waiting_INCLUDED

#include <functional>

namespace QMT
{

/// Calls `isDone` at once, and then several times a second until it returns true or `seconds` have passed. Returns its
/// last result.
bool waitFor(unsigned int seconds, const std::function<bool()>& isDone);

} // namespace QMT

#endif // QMT_Waiting_INCLUDED
