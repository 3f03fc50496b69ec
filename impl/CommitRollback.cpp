#include "impl/CQorModelToolImpl.h"

#include "base/CSignalBlock.h"
#include "base/FileTransfer.h"

#include <Poco/Error.h>
#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Path.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>

namespace QMT
{

namespace
{

using Version = CFrameworkPaths::Version;

/// Whether `path` exists. Throws a Poco::FileException when that cannot be told: a file that is only taken for missing
/// would leave two files of different versions, or put backups over an open session.
bool isThere(const std::string& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0)
    {
        return true;
    }
    if (errno != ENOENT && errno != ENOTDIR && errno != ELOOP && errno != ENAMETOOLONG)
    {
        throw Poco::FileException(Poco::Error::getMessage(errno), path);
    }
    return false;
}

/// Waits until the content of `path` is on the disk: once the installing has begun, an edited working copy is for a
/// while the only complete new version, and a power cut must not take it. A missing one is left to the move.
void sync(const std::string& path)
{
    const int file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
    {
        return;
    }
    const bool failed = ::fsync(file) != 0 && errno != EINVAL;
    static_cast<void>(::close(file));
    if (failed)
    {
        throw Poco::WriteFileException(path);
    }
}

} // namespace

void CQorModelToolImpl::adjustOwnership(std::uint32_t group)
{
    _adjustOwnership = true;
    _group = group;
}

bool CQorModelToolImpl::commitCompleted()
{
    const CSignalBlock block;
    sync(paths().modelFileList(Version::WORKING_COPY));
    sync(paths().configuration(Version::WORKING_COPY));
    moveFile(paths().modelFileList(Version::LIVE), paths().modelFileList(Version::BACKUP));
    moveFile(paths().modelFileList(Version::WORKING_COPY), paths().modelFileList(Version::LIVE));
    adjustOwnershipOf(paths().modelFileList(Version::LIVE));
    moveFile(paths().configuration(Version::LIVE), paths().configuration(Version::BACKUP));
    moveFile(paths().configuration(Version::WORKING_COPY), paths().configuration(Version::LIVE));
    adjustOwnershipOf(paths().configuration(Version::LIVE));
    Poco::File(paths().sessionFile()).remove(false);
    Poco::File(paths().lockFile()).remove(false);
    return true;
}

bool CQorModelToolImpl::rollBack()
{
    const CSignalBlock block;
    if (!isThere(paths().modelFileList(Version::LIVE)))
    {
        return false;
    }
    if (!isThere(paths().modelFileList(Version::BACKUP)) || isThere(paths().lockFile()))
    {
        return true;
    }
    moveFile(paths().modelFileList(Version::BACKUP), paths().modelFileList(Version::LIVE));
    adjustOwnershipOf(paths().modelFileList(Version::LIVE));
    const std::string backup = paths().configuration(Version::BACKUP);
    if (isThere(backup))
    {
        moveFile(backup, paths().configuration(Version::LIVE));
    }
    // The backup's path, on purpose: the configuration put back keeps the mode and group of its backup.
    adjustOwnershipOf(backup);
    return true;
}

void CQorModelToolImpl::adjustOwnershipOf(const std::string& path) const
{
    const unsigned int UNCHANGED = 0xFFFFFFFF;
    const unsigned int GROUP_WRITABLE = 0660;

    if (_adjustOwnership)
    {
        modifyFileOwnerAndGroup(path, UNCHANGED, _group);
        modifyFilePermissions(path, GROUP_WRITABLE);
    }
}

void CQorModelToolImpl::modifyFilePermissions(const Poco::Path& path, unsigned int mode)
{
    const std::string name = path.toString();
    if (::chmod(name.c_str(), mode) != 0)
    {
        ::syslog(LOG_ERR, "Error occurred while modifying the permissions of %s file", name.c_str());
    }
}

void CQorModelToolImpl::modifyFileOwnerAndGroup(const Poco::Path& path, unsigned int owner, unsigned int group)
{
    const std::string name = path.toString();
    if (::chown(name.c_str(), owner, group) != 0)
    {
        ::syslog(LOG_ERR, "Error occurred while changing the group of directory %s file", name.c_str());
    }
}

} // namespace QMT
