#include "impl/CQorModelToolImpl.h"

#include "base/CTransfer.h"
#include "base/DiskSync.h"
#include "base/WholeFile.h"

#include <Poco/Checksum.h>
#include <Poco/Exception.h>
#include <Poco/File.h>

namespace QMT
{

namespace
{

void removeIfPossible(const std::string& path)
{
    try
    {
        Poco::File(path).remove(false);
    }
    catch (const Poco::Exception&) // NOLINT(bugprone-empty-catch): a missing file needs no removal
    {
    }
}

void syncDirectoryIfPossible(const std::string& path)
{
    try
    {
        syncDirectoryOf(path);
    }
    catch (const Poco::Exception&) // NOLINT(bugprone-empty-catch): a failed removal is ignored, too
    {
    }
}

} // namespace

bool CQorModelToolImpl::backupFiles()
{
    copyLiveFilesTo(&ManagedFile::workingCopy);
    // The list's working copy shares its directory with the session file, whose writing syncs it.
    syncDirectoryOf(paths().configuration().workingCopy);
    return true;
}

bool CQorModelToolImpl::cfgBackup()
{
    copyLiveFilesTo(&ManagedFile::backup);
    syncDirectoryOf(paths().configuration().backup);
    syncDirectoryOf(paths().modelFileList().backup);
    return true;
}

void CQorModelToolImpl::copyLiveFilesTo(ManagedFilePath copy) const
{
    const auto copyLive = [&](const ManagedFile& file)
    {
        refuseLinkOfAnother(file.*copy);
        _transfer->copy(file.live, file.*copy);
    };
    copyLive(paths().configuration());
    copyLive(paths().modelFileList());
}

void CQorModelToolImpl::refuseLinkOfAnother(const std::string& path)
{
    if (isLinkOfAnother(path))
    {
        throw Poco::OpenFileException(path);
    }
}

bool CQorModelToolImpl::cleanupTmp()
{
    removeIfPossible(paths().modelFileList().workingCopy);
    removeIfPossible(paths().sessionFile());
    removeIfPossible(paths().lockFile());
    removeIfPossible(paths().configuration().workingCopy);
    syncDirectoryIfPossible(paths().lockFile());
    syncDirectoryIfPossible(paths().configuration().workingCopy);
    return true;
}

std::uint32_t CQorModelToolImpl::checksumFile(const std::string& path)
{
    return checksumOf(path).value_or(0);
}

std::optional<std::uint32_t> CQorModelToolImpl::checksumOf(const std::string& path)
{
    std::string content;
    const ReadResult result = load(path, content);
    if (result == ReadResult::FAILED || result == ReadResult::NOT_OPENED)
    {
        return std::nullopt;
    }
    Poco::Checksum checksum(Poco::Checksum::TYPE_CRC32);
    checksum.update(content);
    return checksum.checksum();
}

bool CQorModelToolImpl::haveEqualChecksums(const ManagedFile& file)
{
    const std::optional<std::uint32_t> live = checksumOf(file.live);
    const std::optional<std::uint32_t> workingCopy =
        isLinkOfAnother(file.workingCopy) ? std::nullopt : checksumOf(file.workingCopy);
    return live.has_value() && live == workingCopy;
}

bool CQorModelToolImpl::crcCheckModelFiles() const
{
    return haveEqualChecksums(paths().modelFileList());
}

bool CQorModelToolImpl::crcCheckQORFiles() const
{
    return haveEqualChecksums(paths().configuration());
}

} // namespace QMT
