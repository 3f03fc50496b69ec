#ifndef QMT_CKeptFile_INCLUDED
#define QMT_CKeptFile_INCLUDED

#include <sys/stat.h>

#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// A file as it was at one moment, though it be replaced or removed: its content, its attributes, or that it was
/// missing.
class CKeptFile
{
public:
    /// Keeps the file at `path`; a link is followed. Throws a Poco::FileException when it is there and cannot be read.
    explicit CKeptFile(const std::string& path);
    ~CKeptFile();
    CKeptFile(const CKeptFile&) = delete;
    CKeptFile& operator=(const CKeptFile&) = delete;
    CKeptFile(CKeptFile&&) = delete;
    CKeptFile& operator=(CKeptFile&&) = delete;

    /// What it held; none when it was missing.
    const std::optional<std::string>& content() const;

    /// Makes the file at the path what it was, times of access and modification included; removes it when it was
    /// missing. On the disk on return. Returns what could not be kept, a line each. Throws like replaceFile.
    std::vector<std::string> putBack() const;

private:
    const std::string _path;
    int _file;
    struct stat _status;
    std::optional<std::string> _content;
};

} // namespace QMT

#endif // QMT_CKeptFile_INCLUDED
