#include "support/OpenedFiles.h"

#include <csignal>

namespace QMT::Test
{

namespace
{

OpenedFiles* current = nullptr;

} // namespace

OpenedFiles::OpenedFiles()
{
    current = this;
}

OpenedFiles::~OpenedFiles()
{
    current = nullptr;
}

bool OpenedFiles::wereSignalsHeldFor(const std::string& path) const
{
    const auto found = _held.find(path);
    return found != _held.end() && found->second;
}

bool OpenedFiles::areSignalsHeld()
{
    sigset_t held;
    ::sigprocmask(SIG_BLOCK, nullptr, &held);
    return ::sigismember(&held, SIGTERM) == 1;
}

void OpenedFiles::note(const std::string& path)
{
    if (current != nullptr)
    {
        current->_held.emplace(path, true).first->second &= areSignalsHeld();
    }
}

} // namespace QMT::Test
