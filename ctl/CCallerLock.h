#ifndef QMT_CCallerLock_INCLUDED
#define QMT_CCallerLock_INCLUDED

#include "base/CRecordLock.h"

#include <string>

namespace QMT
{

/// The lock that keeps the companion's callers apart, on all hosts that share the framework directory. It is held until
/// the object or the process ends; its file stays.
class CCallerLock
{
public:
    /// Opens the lock file of the framework directory `qorPath` without taking the lock; a missing file is created like
    /// the model file list. Throws a Poco::FileException that names the file when that cannot be done.
    explicit CCallerLock(const std::string& qorPath);

    /// Takes the lock, retrying for up to `seconds` while another caller holds it. Returns whether it was taken.
    /// Throws a Poco::FileException when the file system has no such locks.
    [[nodiscard]] bool takeWithin(unsigned int seconds);

    /// Who holds the lock, as a message: after takeWithin has failed.
    std::string holder() const;

    /// Who else holds the lock of `qorPath`, as a message; empty when nobody does. Creates no file and takes no lock.
    static std::string holderOf(const std::string& qorPath);

private:
    const std::string _path;
    CRecordLock _lock;
};

} // namespace QMT

#endif // QMT_CCallerLock_INCLUDED
