#ifndef QMT_TEST_LockHolder_INCLUDED
#define QMT_TEST_LockHolder_INCLUDED

#include <string>

namespace QMT::Test
{

/// Another process that holds the record lock on a file while the object lives.
class LockHolder
{
public:
    /// Creates the file unless it exists.
    explicit LockHolder(const std::string& path);
    ~LockHolder();
    LockHolder(const LockHolder&) = delete;
    LockHolder& operator=(const LockHolder&) = delete;
    LockHolder(LockHolder&&) = delete;
    LockHolder& operator=(LockHolder&&) = delete;

    /// Its process id.
    int process() const;

    /// The message of a caller of the companion who meets it.
    std::string message() const;

private:
    const std::string _path;
    int _process;
};

} // namespace QMT::Test

#endif // QMT_TEST_LockHolder_INCLUDED
