#include "base/ProcessSetup.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace QMT
{

namespace
{

void ignoreSignal(int)
{
}

void setHandler(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    static_cast<void>(::sigaction(signal, &action, nullptr));
}

/// A handler, unlike an ignored signal, is not inherited by child programs.
void catchSigpipe()
{
    setHandler(SIGPIPE, ignoreSignal);
}

void resetSigchld()
{
    setHandler(SIGCHLD, SIG_DFL);
}

void openStandardStreams()
{
    int descriptor = STDIN_FILENO;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
    {
        descriptor = ::open("/dev/null", O_RDWR);
    }
    static_cast<void>(::close(descriptor));
}

} // namespace

void setUpProcess()
{
    catchSigpipe();
    resetSigchld();
    openStandardStreams();
}

} // namespace QMT
