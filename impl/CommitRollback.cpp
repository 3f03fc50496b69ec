#include "impl/CQorModelToolImpl.h"

#include "base/CSignalBlock.h"
#include "base/CTransfer.h"
#include "base/DiskSync.h"
#include "base/Existence.h"
#include "base/FileError.h"
#include "base/FileTransfer.h"

#include <Poco/File.h>
#include <Poco/Path.h>

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace QMT
{

namespace
{

/// Whether `path` exists. Throws a Poco::FileException when stat fails for another reason: to treat the file as missing
/// would leave two files that do not match, or put backups over an open session.
bool isThere(const std::string& path)
{
    const Existence existence = existenceOf(path);
    if (existence == Existence::UNKNOWN)
    {
        throwFileError(path);
    }
    return existence == Existence::PRESENT;
}

/// Moves the backup to the live file. The backup is removed once the live file's name is synced: until then it may
/// be the only copy.
void putBack(const ManagedFile& file)
{
    copyFile(file.backup, file.live);
    syncDirectoryOf(file.live);
    Poco::File(file.backup).remove(false);
    syncDirectoryOf(file.backup);
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
    installWorkingCopies();
    endSession();
    return true;
}

void CQorModelToolImpl::installWorkingCopies()
{
    const ManagedFile list = paths().modelFileList();
    const ManagedFile configuration = paths().configuration();
    for (const ManagedFile* file : {&list, &configuration})
    {
        refuseLinkOfAnother(file->backup);
        refuseLinkOfAnother(file->workingCopy);
    }
    // Without this, a power cut could truncate a live file and its working copy alike, and no check would notice.
    syncFile(list.workingCopy);
    syncFile(configuration.workingCopy);
    install(list);
    install(configuration);
    Poco::File(paths().sessionFile()).remove(false);
}

void CQorModelToolImpl::endSession()
{
    Poco::File(paths().lockFile()).remove(false);
    syncDirectoryOf(paths().lockFile());
}

void CQorModelToolImpl::install(const ManagedFile& file) const
{
    _transfer->move(file.live, file.backup);
    _transfer->move(file.workingCopy, file.live);
    // The session may end only when the installed file's name is synced.
    syncDirectoryOf(file.live);
    adjustOwnershipOf(file.live);
}

bool CQorModelToolImpl::rollBack()
{
    const CSignalBlock block;
    const ManagedFile list = paths().modelFileList();
    const ManagedFile configuration = paths().configuration();
    if (!Poco::File(list.live).exists())
    {
        return false;
    }
    if (!hasBackup() || isThere(paths().lockFile()))
    {
        return true;
    }
    refuseLinkOfAnother(list.backup);
    refuseLinkOfAnother(configuration.backup);
    putBack(list);
    adjustOwnershipOf(list.live);
    if (isThere(configuration.backup))
    {
        putBack(configuration);
    }
    // The backup's path, on purpose: the restored configuration keeps the mode and group of its backup.
    adjustOwnershipOf(configuration.backup);
    return true;
}

bool CQorModelToolImpl::hasBackup() const
{
    return Poco::File(paths().modelFileList().backup).exists();
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
