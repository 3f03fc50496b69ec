#include "support/FailingAllocation.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace
{

std::size_t tooMuch = SIZE_MAX;

} // namespace

void* operator new(std::size_t size)
{
    void* const memory = size >= tooMuch ? nullptr : std::malloc(size);
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

namespace QMT::Test
{

FailingAllocation::FailingAllocation(std::size_t size)
{
    tooMuch = size;
}

FailingAllocation::~FailingAllocation()
{
    tooMuch = SIZE_MAX;
}

} // namespace QMT::Test
