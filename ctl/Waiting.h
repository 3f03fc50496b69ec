#ifndef QMT_Waiting_INCLUDED
#define QMT_Waiting_INCLUDED

#include <chrono>
#include <functional>

namespace QMT
{

using Deadline = std::chrono::steady_clock::time_point;

/// The end of a wait that begins now and takes up to `seconds`.
Deadline deadlineIn(unsigned int seconds);

/// Calls `isDone` at once, and then several times a second until it returns true or `deadline` has passed. Returns its
/// last result.
bool waitUntil(Deadline deadline, const std::function<bool()>& isDone);

} // namespace QMT

#endif // QMT_Waiting_INCLUDED
