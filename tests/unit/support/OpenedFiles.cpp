#include "support/OpenedFiles.h"

#include <csignal>

namespace QMT::Test
{

namespace
{

OpenedFiles* currentFiles = nullptr;

} // namespace

OpenedFiles::OpenedFiles()
{
    currentFiles = this;
}

OpenedFiles::~OpenedFiles()
{
    currentFiles = nullptr;
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
    if (currentFiles != nullptr)
    {
        currentFiles->_blocked.emplace(path, true).first->second &= areSignalsBlocked();
    }
}

} // namespace QMT::Test
