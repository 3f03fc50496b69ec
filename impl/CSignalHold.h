#ifndef QMT_CSignalHold_INCLUDED
#define QMT_CSignalHold_INCLUDED

#include <csignal>

namespace QMT
{

/// Holds back the signals by which people and systems ask a program to end, as long as the object lives. One that came
/// meanwhile takes effect when the object is gone.
///
/// For steps that must not be left half-done. No process may be started meanwhile: it would inherit the hold.
class CSignalHold
{
public:
    CSignalHold();
    ~CSignalHold();
    CSignalHold(const CSignalHold&) = delete;
    CSignalHold& operator=(const CSignalHold&) = delete;
    CSignalHold(CSignalHold&&) = delete;
    CSignalHold& operator=(CSignalHold&&) = delete;

private:
    sigset_t _before;
};

} // namespace QMT

#endif // QMT_CSignalHold_INCLUDED
