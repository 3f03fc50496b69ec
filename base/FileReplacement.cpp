#include "base/FileReplacement.h"

#include "base/DiskSync.h"
#include "base/FileAttributes.h"
#include "base/FileError.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace QMT
{

namespace
{

/// A file being written; it is removed again unless it is kept.
class CNewFile
{
public:
    /// `name` is the name of the file at `path` in messages.
    CNewFile(const std::string& path, const std::string& name)
        : _path(path), _name(name),
          _file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600))
    {
        if (_file < 0)
        {
            throwFileError(_name);
        }
    }

    ~CNewFile()
    {
        if (_file >= 0)
        {
            static_cast<void>(::close(_file));
        }
        if (!_isKept)
        {
            static_cast<void>(::unlink(_path.c_str()));
        }
    }

    CNewFile(const CNewFile&) = delete;
    CNewFile& operator=(const CNewFile&) = delete;
    CNewFile(CNewFile&&) = delete;
    CNewFile& operator=(CNewFile&&) = delete;

    std::vector<std::string> takeAttributes(const std::string& like) const
    {
        return copyAttributes(like, _file, _name);
    }

    void write(const std::string& content) const
    {
        std::string::size_type written = 0;
        while (written < content.size())
        {
            const ssize_t count = ::write(_file, content.data() + written, content.size() - written);
            if (count < 0 && errno != EINTR)
            {
                throwFileError(_name);
            }
            written += count < 0 ? 0 : static_cast<std::string::size_type>(count);
        }
    }

    void finish()
    {
        if (::fsync(_file) != 0 && errno != EINVAL)
        {
            throwFileError(_name);
        }
        const int file = _file;
        _file = -1;
        if (::close(file) != 0)
        {
            throwFileError(_name);
        }
    }

    void keep()
    {
        _isKept = true;
    }

private:
    const std::string _path;
    const std::string _name;
    int _file;
    bool _isKept = false;
};

/// The path of the file that `path` leads to. A dangling link counts as the file itself.
std::string target(const std::string& path)
{
    std::array<char, PATH_MAX> resolved = {};
    const bool isFound = ::realpath(path.c_str(), resolved.data()) != nullptr;
    return isFound ? std::string(resolved.data()) : path;
}

std::vector<std::string> write(CNewFile& file, const std::string& content, const std::string& like)
{
    file.write(content);
    std::vector<std::string> lost = file.takeAttributes(like);
    file.finish();
    return lost;
}

} // namespace

std::vector<std::string> replaceFile(const std::string& path, const std::string& content, const std::string& like)
{
    const std::string place = target(path);
    const std::string replacement = place + ".replacement";
    static_cast<void>(::unlink(replacement.c_str()));
    CNewFile file(replacement, path);
    std::vector<std::string> lost = write(file, content, like);
    if (std::rename(replacement.c_str(), place.c_str()) != 0)
    {
        throwFileError(path);
    }
    file.keep();
    syncDirectoryOf(place);
    return lost;
}

std::vector<std::string> createFile(const std::string& path, const std::string& content, const std::string& like)
{
    CNewFile file(path, path);
    std::vector<std::string> lost = write(file, content, like);
    file.keep();
    return lost;
}

void removeFile(const std::string& path)
{
    if (::unlink(path.c_str()) != 0 && errno != ENOENT)
    {
        throwFileError(path);
    }
    syncDirectoryOf(path);
}

} // namespace QMT
