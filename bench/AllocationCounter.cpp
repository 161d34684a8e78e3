#include "bench/AllocationCounter.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace
{
thread_local bench::Allocations current;
}

namespace bench
{
Allocations allocations()
{
    return current;
}
}

void* operator new(std::size_t size)
{
    void* const block = std::malloc(size ? size : 1);
    if (!block)
        throw std::bad_alloc();
    ++current.count;
    current.live += malloc_usable_size(block);
    return block;
}

void operator delete(void* block) noexcept
{
    current.live -= malloc_usable_size(block);
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}
