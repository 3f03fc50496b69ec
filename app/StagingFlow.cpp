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
    const CommandQueueEntry& newest = _impl->queue().front();
    const std::string line = stagingLine(newest.first, newest.second);
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

bool CQorModelTool::waitForLock()
{
    const int LAST_ATTEMPT = 30;

    for (int attempt = 0; attempt < LAST_ATTEMPT; ++attempt)
    {
        if (_impl->createLockFile() != 0)
        {
            return true;
        }
        ::sleep(1);
    }
    // A lock that only the last attempt gets counts as not got, and stays.
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
