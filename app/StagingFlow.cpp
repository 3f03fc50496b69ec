#include "app/CQorModelTool.h"

#include "impl/CQorModelToolImpl.h"

#include <Poco/Logger.h>

#include <syslog.h>
#include <unistd.h>

namespace QMT
{

bool CQorModelTool::stage(bool lockExisted)
{
    completeNewestEntry();
    if (!lockExisted)
    {
        announceSession();
        _impl->backupFiles();
        _impl->createLockFile();
    }
    Action newest;
    // A text without separators has been reported; its line shows the fields as empty.
    static_cast<void>(_impl->splitEntry(_impl->queue().front(), newest));
    const std::string line = newest.stagingLine();
    ::syslog(LOG_DEBUG, "%s", line.c_str());
    if (isLockWithCurrentHost())
    {
        announceEntry(line);
    }
    else if (waitForLock())
    {
        announceSession();
        announceEntry(line);
        _impl->backupFiles();
    }
    else
    {
        refuse();
        return false;
    }
    _impl->saveFIFO();
    return true;
}

void CQorModelTool::completeNewestEntry()
{
    CommandQueueEntry& entry = _impl->queue().front();
    const Request& request = _impl->request();
    const Action action = {entry.first, request.modelFile, request.modelHandler, _impl->moVersion(),
                           _impl->trVersion()};
    // A --status after the staging option loads another host's session, whose entry is then the newest. So the kind of
    // that entry decides, and a text that is already complete stays.
    if (hasHandler(entry.first))
    {
        entry.second = action.text();
    }
}

bool CQorModelTool::waitForLock()
{
    const int LAST_ATTEMPT = 30;

    for (int attempt = 0; attempt < LAST_ATTEMPT; ++attempt)
    {
        if (_impl->createLockFile() != CQorModelToolImpl::LOCK_EXISTED)
        {
            return true;
        }
        ::sleep(1);
    }
    // A lock taken by the last attempt counts as refused, and stays.
    _impl->createLockFile();
    return false;
}

void CQorModelTool::announceSession()
{
    _logger->information("Starting new session:\nUse -s to list queued actions.");
}

void CQorModelTool::announceEntry(const std::string& line)
{
    _logger->information("Updated session file with new entry.");
    _logger->information(line);
}

void CQorModelTool::refuse()
{
    std::string owner;
    _impl->getSessionHost(owner);
    const std::string text =
        "WARNING: Session already in progress and locked by: " + owner + "\nPending action canceled.";
    _logger->information(text);
    ::syslog(LOG_INFO, "%s", text.c_str());
}

} // namespace QMT
