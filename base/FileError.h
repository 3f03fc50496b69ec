#ifndef QMT_FileError_INCLUDED
#define QMT_FileError_INCLUDED

#include <string>

namespace QMT
{

/// Throws a Poco::FileException with the system's text for errno, the file at `path` and errno as its code.
[[noreturn]] void throwFileError(const std::string& path);

} // namespace QMT

#endif // QMT_FileError_INCLUDED
