#include "base/DiskSync.h"

#include <Poco/Exception.h>
#include <Poco/Path.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace QMT
{

namespace
{

bool isSynced(const std::string& path)
{
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
    {
        return errno == ENOENT || errno == ENOTDIR || errno == EACCES;
    }
    const bool isDone = ::fsync(file) == 0 || errno == EINVAL;
    static_cast<void>(::close(file));
    return isDone;
}

void sync(const std::string& path)
{
    if (!isSynced(path))
    {
        throw Poco::WriteFileException(path);
    }
}

} // namespace

void syncFile(const std::string& path)
{
    sync(path);
}

void syncDirectoryOf(const std::string& path)
{
    sync(Poco::Path(path).makeParent().toString());
}

} // namespace QMT
