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

void sync(const std::string& path, int flags)
{
    const int file = ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK);
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

void syncFile(const std::string& path)
{
    sync(path, O_WRONLY);
}

void syncDirectoryOf(const std::string& path)
{
    sync(Poco::Path(path).makeParent().toString(), O_RDONLY | O_DIRECTORY);
}

} // namespace QMT
