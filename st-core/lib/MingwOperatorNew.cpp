#include <cstddef>
#include <new>

extern "C" void* (*__imp_crt_malloc)(std::size_t size);

// Past the memory that MingwRuntime.cpp keeps for the runtime: where the heap is exhausted, a collection fails.
void* operator new(std::size_t size)
{
    if (void* const block = __imp_crt_malloc(size == 0 ? 1 : size))
        return block;
    throw std::bad_alloc();
}
