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

bool OpenedFiles::wereSignalsBlockedFor(const std::string& path) const
{
    const auto found = _blocked.find(path);
    return found != _blocked.end() && found->second;
}

bool OpenedFiles::areSignalsBlocked()
{
    sigset_t blocked;
    ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
    return ::sigismember(&blocked, SIGTERM) == 1;
}

void OpenedFiles::note(const std::string& path)
{
    if (current != nullptr)
    {
        current->_blocked.emplace(path, true).first->second &= areSignalsBlocked();
    }
}

} // namespace QMT::Test
