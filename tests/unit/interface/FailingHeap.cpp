#include "tests/unit/interface/FailingHeap.h"

#include <cstdlib>
#include <new>

FailingHeap heap;

namespace
{
bool failsNow()
{
    if (!heap.armed)
        return false;
    if (heap.left != 0)
    {
        --heap.left;
        return false;
    }
    heap.armed = heap.forGood;
    heap.failed = true;
    if (heap.instead)
        heap.instead();
    return !heap.instead;
}

void* allocate(std::size_t size)
{
    void* block = failsNow() ? nullptr : std::malloc(size ? size : 1);
    if (block)
        ++heap.live;
    return block;
}

void* allocateOrThrow(std::size_t size)
{
    void* block = allocate(size);
    if (!block)
        throw std::bad_alloc();
    return block;
}

void release(void* block)
{
    if (block)
        --heap.live;
    std::free(block);
}
}

void* operator new(std::size_t size)
{
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size)
{
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}
void operator delete(void* block) noexcept
{
    release(block);
}
void operator delete[](void* block) noexcept
{
    release(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    release(block);
}
void operator delete[](void* block, std::size_t) noexcept
{
    release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept
{
    release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept
{
    release(block);
}
