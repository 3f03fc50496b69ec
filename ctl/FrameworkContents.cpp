#include "ctl/FrameworkContents.h"

#include "base/WholeFile.h"
#include "impl/CFrameworkPaths.h"

#include <Poco/Exception.h>

namespace QMT
{

namespace
{

std::optional<std::string> read(const std::string& path)
{
    std::string content;
    switch (readWholeFile(path, content))
    {
    case ReadResult::READ:
        return content;
    case ReadResult::MISSING:
        return std::nullopt;
    case ReadResult::NOT_OPENED:
    case ReadResult::FAILED:
        break;
    }
    throw Poco::FileException("the file cannot be read", path);
}

FilePair readPair(const CFrameworkPaths& paths, std::string ManagedFile::*state)
{
    return {read(paths.configuration().*state), read(paths.modelFileList().*state)};
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

FrameworkContents readFramework(const std::string& qorPath)
{
    const CFrameworkPaths paths(qorPath);
    FrameworkContents contents;
    contents.live = readPair(paths, &ManagedFile::live);
    contents.workingCopy = readPair(paths, &ManagedFile::workingCopy);
    contents.backup = readPair(paths, &ManagedFile::backup);
    contents.session = read(paths.sessionFile());
    contents.lock = read(paths.lockFile());
    return contents;
}

} // namespace QMT
