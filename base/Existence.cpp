#include "base/Existence.h"

#include <sys/stat.h>

#include <cerrno>

namespace QMT
{

Existence existenceOf(const std::string& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0)
    {
        return Existence::PRESENT;
    }
    const bool isAbsent = errno == ENOENT || errno == ENOTDIR || errno == ELOOP || errno == ENAMETOOLONG;
    return isAbsent ? Existence::ABSENT : Existence::UNKNOWN;
}

} // namespace QMT
