#ifndef QMT_CFileSnapshot_INCLUDED
#define QMT_CFileSnapshot_INCLUDED

#include <sys/stat.h>

#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// A snapshot of a file that outlives its replacement or removal: its content and attributes, or that it was
/// missing.
class CFileSnapshot
{
public:
    /// Takes the snapshot of the file at `path`; a link is followed. Throws a Poco::FileException when it exists but
    /// cannot be read.
    explicit CFileSnapshot(const std::string& path);
    ~CFileSnapshot();
    CFileSnapshot(const CFileSnapshot&) = delete;
    CFileSnapshot& operator=(const CFileSnapshot&) = delete;
    CFileSnapshot(CFileSnapshot&&) = delete;
    CFileSnapshot& operator=(CFileSnapshot&&) = delete;

    /// The content; none when the file was missing.
    const std::optional<std::string>& content() const;

    /// Whether it has neither been replaced nor changed, or is still missing.
    bool isUnchanged() const;

    /// Frees the disk space that the file still occupies after its removal; restore still works. Does nothing while the
    /// file has a name, and without permission to write it.
    void freeSpace() const;

    /// Restores the file, access and modification times included, unless it is unchanged; removes it when it was
    /// missing. The content, or the removal, is synced on return. Returns the attributes that could not be kept, one
    /// line each. Throws like replaceFile.
    std::vector<std::string> restore() const;

private:
    const std::string _path;
    int _file;
    struct stat _status;
    std::optional<std::string> _content;
};

} // namespace QMT

#endif // QMT_CFileSnapshot_INCLUDED
