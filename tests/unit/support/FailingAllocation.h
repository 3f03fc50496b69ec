#ifndef QMT_TEST_FailingAllocation_INCLUDED
#define QMT_TEST_FailingAllocation_INCLUDED

#include <cstddef>

namespace QMT::Test
{

/// Makes large allocations fail while the object lives. There is one at a time.
class FailingAllocation
{
public:
    /// Requests of `size` bytes and more fail.
    explicit FailingAllocation(std::size_t size);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    FailingAllocation(FailingAllocation&&) = delete;
    FailingAllocation& operator=(FailingAllocation&&) = delete;

    /// How many requests failed.
    int failures() const;
};

} // namespace QMT::Test

#endif // QMT_TEST_FailingAllocation_INCLUDED
