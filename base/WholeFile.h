#ifndef QMT_WholeFile_INCLUDED
#define QMT_WholeFile_INCLUDED

#include <iosfwd>
#include <string>

namespace QMT
{

/// How an attempt to read a file ended.
enum class ReadResult
{
    READ,       ///< the content is complete
    MISSING,    ///< there is no such file
    NOT_OPENED, ///< it exists, or may exist, but cannot be opened
    FAILED      ///< it has no size (a directory, a pipe), is too large, or a read failed
};

/// Reads the file at `path` into `content`, replacing what `content` held. MISSING and NOT_OPENED do not touch
/// `content`; after FAILED its value is unspecified.
[[nodiscard]] ReadResult readWholeFile(const std::string& path, std::string& content);

/// Opens the file at `path` on `file`, for callers that read only its beginning. False for a pipe, and when it cannot
/// be opened.
[[nodiscard]] bool openForReading(const std::string& path, std::ifstream& file);

/// Replaces the content of the file at `path` by `content`; a missing file is created.
///
/// False for a pipe, a link of another user (see isLinkOfAnother) and a file that cannot be opened; the content then
/// stays. Also false when the write, the flush or the close fails; the content may then be incomplete.
[[nodiscard]] bool writeWholeFile(const std::string& path, const std::string& content);

/// Whether `path` is a symbolic link owned by another user, who could have made it to redirect a read or a write to
/// another file.
[[nodiscard]] bool isLinkOfAnother(const std::string& path);

/// Whether `path` leads to a pipe, which must not be opened as a file: open may block forever.
[[nodiscard]] bool isPipe(const std::string& path);

} // namespace QMT

#endif // QMT_WholeFile_INCLUDED
