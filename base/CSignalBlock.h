#ifndef QMT_CSignalBlock_INCLUDED
#define QMT_CSignalBlock_INCLUDED

#include <csignal>

namespace QMT
{

/// Blocks all signals but those for the program's own faults (SIGSEGV and the like), while the object lives. One
/// that arrives meanwhile is delivered when the object is destroyed.
///
/// For steps that must not be left half-done. Do not start a process meanwhile: it would inherit the block.
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
