#ifndef QMT_TEST_FailingAllocation_INCLUDED
#define QMT_TEST_FailingAllocation_INCLUDED

#include <cstddef>

namespace QMT::Test
{

/// Makes large allocations fail while the object lives. There is one at a time.
class FailingAllocation
{
public:
    /// Allocations of at least `size` bytes fail.
    explicit FailingAllocation(std::size_t size);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    FailingAllocation(FailingAllocation&&) = delete;
    FailingAllocation& operator=(FailingAllocation&&) = delete;

    /// The number of failed allocations.
    int failures() const;
};

} // namespace QMT::Test

#endif // QMT_TEST_FailingAllocation_INCLUDED
