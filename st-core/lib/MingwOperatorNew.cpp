#include <cstddef>
#include <new>

extern "C" void* (*__imp_crt_malloc)(std::size_t size);

// Does not use the memory that MingwRuntime.cpp keeps for the runtime: a collection is to fail if the heap is exhausted.
void* operator new(std::size_t size)
{
    if (void* const block = __imp_crt_malloc(size == 0 ? 1 : size))
        return block;
    throw std::bad_alloc();
}
