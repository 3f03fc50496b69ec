#ifndef QMT_TEST_FakeWaitpid_INCLUDED
#define QMT_TEST_FakeWaitpid_INCLUDED

#include <cstddef>
#include <deque>

namespace QMT::Test
{

/// Replaces the results of waitpid by prepared ones. When these are used up, and without such an object, the real call
/// is made. There is one at a time.
class FakeWaitpid
{
public:
    /// One result: the return value, errno, and the status that the call stores.
    struct Answer
    {
        int result;
        int error;
        int status;
    };

    explicit FakeWaitpid(std::deque<Answer> answers);
    ~FakeWaitpid();
    FakeWaitpid(const FakeWaitpid&) = delete;
    FakeWaitpid& operator=(const FakeWaitpid&) = delete;
    FakeWaitpid(FakeWaitpid&&) = delete;
    FakeWaitpid& operator=(FakeWaitpid&&) = delete;

    /// The number of unused results.
    static std::size_t left();
};

} // namespace QMT::Test

#endif // QMT_TEST_FakeWaitpid_INCLUDED
