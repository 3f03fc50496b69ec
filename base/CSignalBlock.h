#ifndef QMT_CSignalBlock_INCLUDED
#define QMT_CSignalBlock_INCLUDED

#include <csignal>

namespace QMT
{

/// Blocks all signals but those for the program's own faults (SIGSEGV and the like) during its lifetime. A blocked
/// signal is delivered when the object is destroyed.
///
/// For steps that must not be left incomplete. Start no process during that time: it would inherit the block.
class CSignalBlock
{
public:
    CSignalBlock();
    ~CSignalBlock();
    CSignalBlock(const CSignalBlock&) = delete;
    CSignalBlock& operator=(const CSignalBlock&) = delete;
    CSignalBlock(CSignalBlock&&) = delete;
    CSignalBlock& operator=(CSignalBlock&&) = delete;

private:
    sigset_t _before;
};

} // namespace QMT

#endif // QMT_CSignalBlock_INCLUDED
