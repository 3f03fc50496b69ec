#include "ctl/FrameworkContents.h"

#include "base/WholeFile.h"
#include "impl/CFrameworkPaths.h"

#include <Poco/Exception.h>

#include <utility>

namespace QMT
{

namespace
{

FilePair readPair(const CFrameworkPaths& paths, ManagedFilePath state)
{
    return {readIfThere(paths.configuration().*state), readIfThere(paths.modelFileList().*state)};
}

} // namespace

bool FilePair::operator==(const FilePair& other) const
{
    return configuration == other.configuration && list == other.list;
}

bool FilePair::operator!=(const FilePair& other) const
{
    return !(*this == other);
}

bool FrameworkContents::operator==(const FrameworkContents& other) const
{
    return live == other.live && workingCopy == other.workingCopy && backup == other.backup &&
           session == other.session && lock == other.lock;
}

std::optional<std::string> readIfThere(const std::string& path)
{
    std::string content;
    const ReadResult result = readWholeFile(path, content);
    if (result == ReadResult::MISSING)
    {
        return std::nullopt;
    }
    if (result != ReadResult::READ)
    {
        throw Poco::FileException("the file cannot be read", path);
    }
    return content;
}

std::string contentOf(const std::string& path)
{
    std::optional<std::string> content = readIfThere(path);
    if (!content)
    {
        throw Poco::FileException("the file cannot be read", path);
    }
    return *std::move(content);
}

FrameworkContents readFramework(const std::string& qorPath)
{
    const CFrameworkPaths paths(qorPath);
    FrameworkContents contents;
    contents.live = readPair(paths, &ManagedFile::live);
    contents.workingCopy = readPair(paths, &ManagedFile::workingCopy);
    contents.backup = readPair(paths, &ManagedFile::backup);
    contents.session = readIfThere(paths.sessionFile());
    contents.lock = readIfThere(paths.lockFile());
    return contents;
}

const FilePair& bothLiveFiles(const FrameworkContents& contents, const CFrameworkPaths& paths)
{
    const FilePair& live = contents.live;
    if (!live.configuration || !live.list)
    {
        throw Poco::FileNotFoundException(live.configuration ? paths.modelFileList().live : paths.configuration().live);
    }
    return live;
}

} // namespace QMT
