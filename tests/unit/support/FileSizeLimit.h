#ifndef QMT_TEST_FileSizeLimit_INCLUDED
#define QMT_TEST_FileSizeLimit_INCLUDED

#include <sys/resource.h>

#include <csignal>
#include <cstddef>

namespace QMT::Test
{

/// Lets files be made but no more than `size` bytes be written to them, as on a full disk, as long as the object lives.
/// Holds for root too. The test itself must not write meanwhile.
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
