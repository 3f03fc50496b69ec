#include "support/FailingAllocation.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace
{

std::size_t tooMuch = SIZE_MAX;
int refusals = 0;

} // namespace

// The forms for one object belong together: a sanitizer has its own for each that is left out. Those for arrays stay as
// they are.

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (size >= tooMuch)
    {
        ++refusals;
        return nullptr;
    }
    return std::malloc(size);
}

void* operator new(std::size_t size)
{
    void* const memory = operator new(size, std::nothrow);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}

namespace QMT::Test
{

FailingAllocation::FailingAllocation(std::size_t size)
{
    tooMuch = size;
    refusals = 0;
}

FailingAllocation::~FailingAllocation()
{
    tooMuch = SIZE_MAX;
}

int FailingAllocation::failures() const
{
    return refusals;
}

} // namespace QMT::Test
