#ifndef QMT_TEST_FakeWaitpid_INCLUDED
#define QMT_TEST_FakeWaitpid_INCLUDED

#include <cstddef>
#include <deque>

namespace QMT::Test
{

/// Answers calls of waitpid with prepared answers; when these are used up, and without such an object, the system
/// answers. There is one at a time.
class FakeWaitpid
{
public:
    /// One answer: the call's result, `errno` after it and the status that it stores.
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

    /// How many prepared answers were not asked for.
    static std::size_t left();
};

} // namespace QMT::Test

#endif // QMT_TEST_FakeWaitpid_INCLUDED
