#include "tests/faults/FailingHeap.h"

#include <cstdlib>
#include <new>

FailingHeap heap;

namespace
{
bool failsNow()
{
    if (!heap.armed || heap.left-- != 0)
        return false;
    heap.left = 0;
    heap.armed = heap.forGood;
    heap.failed = true;
    if (heap.instead)
        heap.instead();
    return !heap.instead;
}
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    void* const block = failsNow() ? nullptr : std::malloc(size ? size : 1);
    heap.live += block != nullptr;
    return block;
}

void* operator new(std::size_t size)
{
    void* const block = operator new(size, std::nothrow);
    return block ? block : throw std::bad_alloc();
}

void operator delete(void* block) noexcept
{
    heap.live -= block != nullptr;
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}
