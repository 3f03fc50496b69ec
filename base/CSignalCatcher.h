#ifndef QMT_CSignalCatcher_INCLUDED
#define QMT_CSignalCatcher_INCLUDED

#include <csignal>

#include <utility>
#include <vector>

namespace QMT
{

/// Records, during its lifetime, the signals that would end the program, so that work can be finished or undone first.
/// An ignored signal stays ignored. Child programs get the signals' defaults back. One object at a time.
class CSignalCatcher
{
public:
    CSignalCatcher();
    ~CSignalCatcher();
    CSignalCatcher(const CSignalCatcher&) = delete;
    CSignalCatcher& operator=(const CSignalCatcher&) = delete;
    CSignalCatcher(CSignalCatcher&&) = delete;
    CSignalCatcher& operator=(CSignalCatcher&&) = delete;

    /// The first signal that arrived, 0 when none has or there is no object.
    static int caught();

    /// Whether a signal has arrived.
    static bool hasCaught();

private:
    std::vector<std::pair<int, struct sigaction>> _before;
};

} // namespace QMT

#endif // QMT_CSignalCatcher_INCLUDED
