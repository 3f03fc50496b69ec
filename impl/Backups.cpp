#include "impl/CQorModelToolImpl.h"

#include "base/FileTransfer.h"

#include <Poco/Checksum.h>
#include <Poco/Exception.h>
#include <Poco/File.h>

namespace QMT
{

namespace
{

using Version = CFrameworkPaths::Version;

void removeIfPossible(const std::string& path)
{
    try
    {
        Poco::File(path).remove(false);
    }
    catch (const Poco::Exception&) // NOLINT(bugprone-empty-catch): what is not there needs no removal
    {
    }
}

} // namespace

bool CQorModelToolImpl::backupFiles()
{
    copyLiveFilesTo(Version::WORKING_COPY);
    return true;
}

bool CQorModelToolImpl::cfgBackup()
{
    copyLiveFilesTo(Version::BACKUP);
    return true;
}

void CQorModelToolImpl::copyLiveFilesTo(Version version) const
{
    copyFile(paths().configuration(Version::LIVE), paths().configuration(version));
    copyFile(paths().modelFileList(Version::LIVE), paths().modelFileList(version));
}

bool CQorModelToolImpl::cleanupTmp()
{
    removeIfPossible(paths().modelFileList(Version::WORKING_COPY));
    removeIfPossible(paths().sessionFile());
    removeIfPossible(paths().lockFile());
    removeIfPossible(paths().configuration(Version::WORKING_COPY));
    return true;
}

std::uint32_t CQorModelToolImpl::checksumFile(const std::string& path)
{
    std::string content;
    if (!loadFile(path, content))
    {
        content.clear();
    }
    Poco::Checksum checksum(Poco::Checksum::TYPE_CRC32);
    checksum.update(content);
    return checksum.checksum();
}

bool CQorModelToolImpl::crcCheckModelFiles() const
{
    const std::uint32_t live = checksumFile(paths().modelFileList(Version::LIVE));
    return live == checksumFile(paths().modelFileList(Version::WORKING_COPY));
}

bool CQorModelToolImpl::crcCheckQORFiles() const
{
    const std::uint32_t live = checksumFile(paths().configuration(Version::LIVE));
    return live == checksumFile(paths().configuration(Version::WORKING_COPY));
}

} // namespace QMT
