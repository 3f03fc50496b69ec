#include "base/CFileSnapshot.h"

#include "base/Existence.h"
#include "base/FileReplacement.h"
#include "base/WholeFile.h"

#include <Poco/Exception.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <system_error>

namespace QMT
{

namespace
{

/// Names the open file even after its directory entry is gone.
std::string nameOf(int file)
{
    return "/proc/self/fd/" + std::to_string(file);
}

} // namespace

CFileSnapshot::CFileSnapshot(const std::string& path)
    : _path(path), _file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)), _status()
{
    std::string content;
    const ReadResult result = readWholeFile(path, content);
    if (result == ReadResult::READ && ::fstat(_file, &_status) == 0)
    {
        _content = content;
    }
    else if (result != ReadResult::MISSING)
    {
        static_cast<void>(::close(_file));
        throw Poco::FileException(path);
    }
}

CFileSnapshot::~CFileSnapshot()
{
    if (_file >= 0)
    {
        static_cast<void>(::close(_file));
    }
}

const std::optional<std::string>& CFileSnapshot::content() const
{
    return _content;
}

bool CFileSnapshot::isUnchanged() const
{
    if (!_content)
    {
        return existenceOf(_path) == Existence::ABSENT;
    }
    struct stat now = {};
    std::string content;
    return ::stat(_path.c_str(), &now) == 0 && now.st_dev == _status.st_dev && now.st_ino == _status.st_ino &&
           readWholeFile(_path, content) == ReadResult::READ && content == _content;
}

void CFileSnapshot::freeSpace() const
{
    struct stat now = {};
    if (_content && ::fstat(_file, &now) == 0 && now.st_nlink == 0)
    {
        std::error_code ignored;
        std::filesystem::resize_file(nameOf(_file), 0, ignored);
    }
}

std::vector<std::string> CFileSnapshot::restore() const
{
    if (!_content)
    {
        removeFile(_path);
        return std::vector<std::string>();
    }
    // A file that could not be replaced, for instance an immutable one, cannot be restored either.
    if (isUnchanged())
    {
        return std::vector<std::string>();
    }
    std::vector<std::string> lost = replaceFile(_path, *_content, nameOf(_file));
    const std::array<struct timespec, 2> times = {_status.st_atim, _status.st_mtim};
    static_cast<void>(::utimensat(AT_FDCWD, _path.c_str(), times.data(), 0));
    return lost;
}

} // namespace QMT
