#include "base/CSignalBlock.h"

namespace QMT
{

CSignalBlock::CSignalBlock() : _before()
{
    sigset_t blocked;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGHUP);
    ::sigaddset(&blocked, SIGINT);
    ::sigaddset(&blocked, SIGQUIT);
    ::sigaddset(&blocked, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &blocked, &_before);
}

CSignalBlock::~CSignalBlock()
{
    ::sigprocmask(SIG_SETMASK, &_before, nullptr);
}

} // namespace QMT
