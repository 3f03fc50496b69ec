#include "ctl/FrameworkDirectory.h"

#include "ctl/SilentLogger.h"
#include "impl/CQorModelToolImpl.h"

#include <Poco/Exception.h>
#include <Poco/File.h>

#include <algorithm>

namespace QMT
{

std::optional<std::string> findFramework()
{
    std::string found;
    CQorModelToolImpl impl(&silentLogger());
    if (!impl.getEnvDir(found))
    {
        return std::nullopt;
    }
    return withoutTrailingSlashes(found);
}

std::string withoutTrailingSlashes(const std::string& path)
{
    const std::string::size_type length = path.find_last_not_of('/') + 1;
    // The root directory is a slash.
    return path.substr(0, std::max<std::string::size_type>(length, 1));
}

void requireDirectory(const std::string& path)
{
    // An empty path, which an empty environment variable gives, is the current directory.
    const Poco::File directory(path.empty() ? std::string(".") : path);
    if (!directory.exists())
    {
        throw Poco::FileNotFoundException("there is no framework directory", path);
    }
    if (!directory.isDirectory())
    {
        throw Poco::FileException("the framework is no directory", path);
    }
}

} // namespace QMT
