#ifndef QMT_FrameworkDirectory_INCLUDED
#define QMT_FrameworkDirectory_INCLUDED

#include <optional>
#include <string>

namespace QMT
{

/// The framework directory as the tool finds it, but without console messages; nothing when it cannot be found.
std::optional<std::string> findFramework();

/// `path` without trailing slashes; the root directory keeps its own.
std::string withoutTrailingSlashes(const std::string& path);

/// Throws a Poco::FileException that names `path` unless a directory is there. An empty path is the current directory.
void requireDirectory(const std::string& path);

} // namespace QMT

#endif // QMT_FrameworkDirectory_INCLUDED
