#include "impl/CSignalHold.h"

namespace QMT
{

CSignalHold::CSignalHold() : _before()
{
    sigset_t held;
    ::sigemptyset(&held);
    ::sigaddset(&held, SIGHUP);
    ::sigaddset(&held, SIGINT);
    ::sigaddset(&held, SIGQUIT);
    ::sigaddset(&held, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &held, &_before);
}

CSignalHold::~CSignalHold()
{
    ::sigprocmask(SIG_SETMASK, &_before, nullptr);
}

} // namespace QMT
