#include "ctl/CCallerLock.h"

#include "impl/CFrameworkPaths.h"

namespace QMT
{

namespace
{

std::string describeHolder(int process, const std::string& path)
{
    // A process of another host is reported with a negative number, or not at all.
    std::string who = "a process";
    if (process > 0)
    {
        who = "process " + std::to_string(process);
    }
    return "another caller, " + who + ", has the lock " + path;
}

} // namespace

CCallerLock::CCallerLock(const std::string& qorPath)
    : _path(CFrameworkPaths(qorPath).callerLockFile()), _lock(_path, CFrameworkPaths(qorPath).modelFileList().live)
{
}

bool CCallerLock::tryToTake()
{
    return _lock.tryToTake();
}

std::string CCallerLock::holder() const
{
    return describeHolder(_lock.holder(), _path);
}

std::string CCallerLock::holderOf(const std::string& qorPath)
{
    const std::string path = CFrameworkPaths(qorPath).callerLockFile();
    const int process = CRecordLock::holderOf(path);
    return process == 0 ? std::string() : describeHolder(process, path);
}

} // namespace QMT
