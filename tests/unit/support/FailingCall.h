#ifndef QMT_TEST_FailingCall_INCLUDED
#define QMT_TEST_FailingCall_INCLUDED

#include <string>

namespace QMT::Test
{

/// Makes a system call fail for one file while the object lives, in a way that works for root too. There is one at a
/// time.
class FailingCall
{
public:
    /// Instead of an error number: the call throws a std::runtime_error, which no real system call does.
    static constexpr int THROWS = -1;

    /// More calls than any test makes.
    static constexpr int FOREVER = 1000000;

    /// `call` is "stat", "open" (for writing, and by the library for reading), "fopen" (by the standard streams),
    /// "read", "write" (which writes half with the error number 0), "fsync", "close", "fcntl", "fchown", "fchmod",
    /// "fsetxattr", "rename" (whose path is the new name) or "unlink"; it fails for `path` with the error number
    /// `error`, but not the first `spared` times, and no more than `limit` times. "fork" has no path, which is empty
    /// then.
    FailingCall(const std::string& call, const std::string& path, int error, int spared = 0, int limit = FOREVER);
    ~FailingCall();
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;
    FailingCall(FailingCall&&) = delete;
    FailingCall& operator=(FailingCall&&) = delete;

    /// The number of failed calls so far.
    int failures() const;

    /// For the replaced system calls: returns whether the call fails now, and sets errno if it does. A call that has
    /// only a descriptor passes that.
    static bool fails(const std::string& call, const std::string& path);
    static bool fails(const std::string& call, int file);

private:
    const std::string _call;
    const std::string _path;
    const int _error;
    int _spared;
    const int _limit;
    int _failures = 0;
};

} // namespace QMT::Test

#endif // QMT_TEST_FailingCall_INCLUDED
