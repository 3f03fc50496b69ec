#include "base/CRecordLock.h"

#include "base/FileAttributes.h"
#include "base/FileError.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace QMT
{

namespace
{

/// A lock for writing on all of a file, however long it becomes.
struct flock wholeFile()
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

int openOrMake(const std::string& path, const std::string& like)
{
    const int FLAGS = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;

    int file = ::open(path.c_str(), FLAGS);
    if (file < 0 && errno == ENOENT)
    {
        file = ::open(path.c_str(), FLAGS | O_CREAT | O_EXCL, 0600);
        if (file >= 0)
        {
            static_cast<void>(copyAttributes(like, file, path));
        }
        else if (errno == EEXIST)
        {
            // Another caller has just created it.
            file = ::open(path.c_str(), FLAGS);
        }
    }
    if (file < 0)
    {
        throwFileError(path);
    }
    return file;
}

} // namespace

CRecordLock::CRecordLock(const std::string& path, const std::string& like) : CRecordLock(path, openOrMake(path, like))
{
}

CRecordLock::CRecordLock(const std::string& path, int file) : _path(path), _file(file)
{
}

CRecordLock::~CRecordLock()
{
    static_cast<void>(::close(_file));
}

bool CRecordLock::tryToTake()
{
    struct flock lock = wholeFile();
    if (::fcntl(_file, F_SETLK, &lock) == 0)
    {
        return true;
    }
    if (errno != EACCES && errno != EAGAIN)
    {
        throwFileError(_path);
    }
    return false;
}

int CRecordLock::holder() const
{
    struct flock lock = wholeFile();
    if (::fcntl(_file, F_GETLK, &lock) != 0)
    {
        throwFileError(_path);
    }
    return lock.l_type == F_UNLCK ? 0 : lock.l_pid;
}

int CRecordLock::holderOf(const std::string& path)
{
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (file < 0 && errno == ENOENT)
    {
        return 0;
    }
    if (file < 0)
    {
        throwFileError(path);
    }
    return CRecordLock(path, file).holder();
}

} // namespace QMT
