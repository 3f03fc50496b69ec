#include "impl/CQorModelToolImpl.h"

#include "base/DiskSync.h"
#include "base/WholeFile.h"

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Logger.h>

#include <syslog.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <iomanip>

namespace QMT
{

namespace
{

const int MAX_HOST_NAME = 256;

} // namespace

std::string CQorModelToolImpl::getHostName()
{
    // One byte more than the call may fill: a name that just fits may lack its NUL.
    std::array<char, MAX_HOST_NAME + 1> name = {};
    static_cast<void>(::gethostname(name.data(), name.size() - 1));
    return std::string(name.data());
}

bool CQorModelToolImpl::isLockFile()
{
    return checkExistence(paths().lockFile());
}

int CQorModelToolImpl::createLockFile()
{
    const std::string path = paths().lockFile();
    try
    {
        if (!Poco::File(path).createFile())
        {
            return LOCK_EXISTED;
        }
        if (writeWholeFile(path, getHostName()))
        {
            // The name is synced together with that of the session file.
            syncFile(path);
            _isSessionUnknown = false;
            return LOCK_CREATED;
        }
    }
    catch (const Poco::Exception&) // NOLINT(bugprone-empty-catch): reported below, like a failed write
    {
    }
    _logger->critical("Unable to create lockfile");
    ::syslog(LOG_WARNING, "unable to create lockfile");
    return LOCK_FAILED;
}

bool CQorModelToolImpl::getSessionHost(std::string& host)
{
    const std::string path = paths().lockFile();
    std::ifstream file;
    if (openForReading(path, file))
    {
        // One byte more than the longest host name, so that a longer word is not taken for one; and no more, since
        // the file may be endless.
        std::string word = host;
        file >> std::setw(MAX_HOST_NAME + 1) >> word;
        if (!file.bad())
        {
            host = word;
            return true;
        }
    }
    suspectSession(path);
    const std::string text = "Unable to find hostname";
    _logger->warning(text);
    ::syslog(LOG_WARNING, "%s", text.c_str());
    return false;
}

} // namespace QMT
