#ifndef QMT_CRecordLock_INCLUDED
#define QMT_CRecordLock_INCLUDED

#include <string>

namespace QMT
{

/// A POSIX record lock for writing on a whole file. The system releases it when the object or the process ends, and it
/// works between hosts on a shared file system that has such locks.
///
/// The process loses the lock when it closes any other descriptor of the file: while an object has it, the file must be
/// opened nowhere else.
class CRecordLock
{
public:
    /// Opens the file at `path`. A missing file is created with owner, group, mode and attributes of the file at `like`
    /// as far as the caller may set them. Throws a Poco::FileException (or a subclass) when the file cannot be opened.
    CRecordLock(const std::string& path, const std::string& like);
    ~CRecordLock();
    CRecordLock(const CRecordLock&) = delete;
    CRecordLock& operator=(const CRecordLock&) = delete;
    CRecordLock(CRecordLock&&) = delete;
    CRecordLock& operator=(CRecordLock&&) = delete;

    /// Takes the lock if it is free; returns whether it was taken. Throws a Poco::FileException when the file system
    /// has no such locks.
    [[nodiscard]] bool tryToTake();

    /// The process that holds the lock, 0 when none does. A process of another host may have any number. Throws like
    /// tryToTake.
    [[nodiscard]] int holder() const;

    /// The same for the file at `path`, which is neither locked nor created; 0 when it is missing. Throws a
    /// Poco::FileException when it cannot be opened, and like tryToTake. A process that holds the lock itself must not
    /// call it.
    [[nodiscard]] static int holderOf(const std::string& path);

private:
    CRecordLock(const std::string& path, int file);

    const std::string _path;
    int _file;
};

} // namespace QMT

#endif // QMT_CRecordLock_INCLUDED
