#include "base/CSignalBlock.h"

#include <initializer_list>

namespace QMT
{

CSignalBlock::CSignalBlock() : _before()
{
    sigset_t blocked;
    ::sigfillset(&blocked);
    for (const int fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP})
    {
        ::sigdelset(&blocked, fault);
    }
    ::sigprocmask(SIG_BLOCK, &blocked, &_before);
}

CSignalBlock::~CSignalBlock()
{
    ::sigprocmask(SIG_SETMASK, &_before, nullptr);
}

} // namespace QMT
