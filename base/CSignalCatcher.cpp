#include "base/CSignalCatcher.h"

#include <initializer_list>

namespace QMT
{

namespace
{

volatile std::sig_atomic_t arrived = 0;

void record(int signal)
{
    if (arrived == 0)
    {
        arrived = signal;
    }
}

} // namespace

CSignalCatcher::CSignalCatcher()
{
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGALRM, SIGUSR1, SIGUSR2, SIGVTALRM, SIGPROF, SIGXCPU,
                             SIGXFSZ, SIGIO, SIGPWR})
    {
        struct sigaction before = {};
        struct sigaction action = {};
        action.sa_handler = record;
        action.sa_flags = SA_RESTART;
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN &&
            ::sigaction(signal, &action, nullptr) == 0)
        {
            _before.emplace_back(signal, before);
        }
    }
}

CSignalCatcher::~CSignalCatcher()
{
    for (const auto& [signal, before] : _before)
    {
        static_cast<void>(::sigaction(signal, &before, nullptr));
    }
    arrived = 0;
}

int CSignalCatcher::caught()
{
    return arrived;
}

bool CSignalCatcher::hasCaught()
{
    return caught() != 0;
}

} // namespace QMT
