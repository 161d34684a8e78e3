#include "tests/unit/interface/FailingHeap.h"

#include <cstdlib>
#include <new>

FailingHeap heap;

#ifdef HW_INVENTORY_WRAPS_MALLOC
bool mallocFails = false;

// The linker sends every call of malloc to the one and __real_malloc to the system's.
extern "C" void* __real_malloc(std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size)
{
    return mallocFails ? nullptr : __real_malloc(size);
}
static void* takeBlock(std::size_t size) { return __real_malloc(size); }
#else
static void* takeBlock(std::size_t size) { return std::malloc(size); }
#endif

namespace
{
bool failsNow()
{
    if (!heap.armed || heap.left-- != 0)
        return false;
    heap.armed = false;
    heap.failed = true;
    if (heap.instead)
        heap.instead();
    return !heap.instead;
}

void* allocate(std::size_t size)
{
    void* block = failsNow() ? nullptr : takeBlock(size ? size : 1);
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

void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }
