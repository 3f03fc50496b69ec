#ifndef QMT_WholeFile_INCLUDED
#define QMT_WholeFile_INCLUDED

#include <string>

namespace Poco
{
class FileOutputStream;
}

namespace QMT
{

/// How an attempt to read a file ended.
enum class ReadResult
{
    READ,       ///< the content is complete
    NOT_OPENED, ///< the file is missing or may not be opened
    FAILED      ///< it is there, but it is no file with a size (a directory, a pipe), too large, or unreadable
};

/// Reads the file at `path` into `content`, replacing what `content` held.
///
/// A file that cannot be opened does not touch `content`. After FAILED its value is not to be used.
[[nodiscard]] ReadResult readWholeFile(const std::string& path, std::string& content);

/// Throws a Poco::OpenFileException when `path` leads to a pipe, whose opening may wait for ever.
void refusePipe(const std::string& path);

/// Replaces the file at `path` by `content`; a missing file is created.
///
/// Throws a Poco::FileException (or a relative) when the file cannot be opened, in which case it keeps its content,
/// and a Poco::WriteFileException when a write, the flush or the close fails, in which case it may be incomplete.
void writeWholeFile(const std::string& path, const std::string& content);

/// Flushes and closes `file`, whose path is `path`.
///
/// Throws a Poco::WriteFileException when anything written to the stream did not reach the file.
void closeWritten(Poco::FileOutputStream& file, const std::string& path);

} // namespace QMT

#endif // QMT_WholeFile_INCLUDED
