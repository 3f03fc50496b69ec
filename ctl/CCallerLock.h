#ifndef QMT_CCallerLock_INCLUDED
#define QMT_CCallerLock_INCLUDED

#include "base/CRecordLock.h"

#include <string>

namespace QMT
{

/// The lock that serialises the companion's callers on all hosts that share the framework directory. It is held until
/// the object is destroyed or the process ends; its file stays.
class CCallerLock
{
public:
    /// Opens the lock file of the framework directory `qorPath` without taking the lock; a missing file is created like
    /// the model file list. Throws a Poco::FileException that names the file on failure.
    explicit CCallerLock(const std::string& qorPath);

    /// Takes the lock unless another caller holds it. Returns whether it was taken. Throws a Poco::FileException when
    /// the file system does not support record locks.
    [[nodiscard]] bool tryToTake();

    /// A message that names the holder, for use after tryToTake has failed.
    std::string holder() const;

    /// A message that names the holder of the lock of `qorPath`; empty if it is free. Creates no file, takes no lock.
    static std::string holderOf(const std::string& qorPath);

private:
    const std::string _path;
    CRecordLock _lock;
};

} // namespace QMT

#endif // QMT_CCallerLock_INCLUDED
