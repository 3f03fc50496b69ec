#ifndef QMT_TEST_FileSizeLimit_INCLUDED
#define QMT_TEST_FileSizeLimit_INCLUDED

#include <sys/resource.h>

#include <csignal>
#include <cstddef>

namespace QMT::Test
{

/// Limits files to `size` bytes, as on a full disk, while the object lives; empty files can still be created.
/// The limit also applies to root, and to the test itself.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(std::size_t size = 0);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    FileSizeLimit(FileSizeLimit&&) = delete;
    FileSizeLimit& operator=(FileSizeLimit&&) = delete;

private:
    struct rlimit _previousLimit = {};
    struct sigaction _previousAction = {};
};

} // namespace QMT::Test

#endif // QMT_TEST_FileSizeLimit_INCLUDED
