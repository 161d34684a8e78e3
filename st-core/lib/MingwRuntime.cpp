#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cxxabi.h>

// mingw's C++ runtime allocates on first use (locks, once-objects, exceptions). If malloc fails there, it crashes, aborts or
// recurses without end. A library with this file has memory of its own for that case. The linker redirects malloc, calloc, realloc
// and free to the wrappers below, which call the C runtime's functions by these names (CMakeLists.txt).
extern "C"
{
extern void* (*__imp_crt_malloc)(std::size_t size);
extern void* (*__imp_crt_calloc)(std::size_t count, std::size_t size);
extern void* (*__imp_crt_realloc)(void* block, std::size_t size);
extern void (*__imp_crt_free)(void* block);
}

namespace
{
constexpr std::size_t kUnitSize = 64;
constexpr std::size_t kUnits = 4096;
alignas(16) std::byte memory[kUnits * kUnitSize];
std::uint16_t unitsTaken[kUnits]; // from this unit to the end of its block; 0 where it is free
std::atomic_flag busy;

// Held for microseconds, and only while the heap is exhausted. A lock of the runtime would itself need memory.
struct Lock
{
    Lock()
    {
        while (busy.test_and_set(std::memory_order_acquire))
            __builtin_ia32_pause();
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() { busy.clear(std::memory_order_release); }
};

void* takeEmergencyBlock(std::size_t size)
{
    if (size > sizeof memory)
        return nullptr;
    const std::size_t wanted = size == 0 ? 1 : (size + kUnitSize - 1) / kUnitSize;
    const Lock lock;
    std::size_t free = 0;
    for (std::size_t unit = 0; unit < kUnits; ++unit)
    {
        free = unitsTaken[unit] == 0 ? free + 1 : 0;
        if (free < wanted)
            continue;
        for (std::size_t left = 1; left <= wanted; ++left)
            unitsTaken[unit + 1 - left] = static_cast<std::uint16_t>(left);
        return &memory[(unit + 1 - wanted) * kUnitSize];
    }
    return nullptr;
}

bool isEmergencyBlock(const void* block)
{
    return block >= memory && block < memory + sizeof memory;
}

std::size_t unitOf(const void* block)
{
    return static_cast<std::size_t>(static_cast<const std::byte*>(block) - memory) / kUnitSize;
}

void giveBackEmergencyBlock(void* block)
{
    const Lock lock;
    const std::size_t unit = unitOf(block);
    std::memset(&unitsTaken[unit], 0, unitsTaken[unit] * sizeof unitsTaken[unit]);
}
}

extern "C"
{
void* __wrap_malloc(std::size_t size)
{
    void* const block = __imp_crt_malloc(size);
    return block ? block : takeEmergencyBlock(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes))
        return nullptr;
    if (void* const block = __imp_crt_calloc(count, size))
        return block;
    void* const block = takeEmergencyBlock(bytes);
    return block ? std::memset(block, 0, bytes) : nullptr;
}

void __wrap_free(void* block)
{
    isEmergencyBlock(block) ? giveBackEmergencyBlock(block) : __imp_crt_free(block);
}

void* __wrap_realloc(void* block, std::size_t size)
{
    if (!block)
        return __wrap_malloc(size);
    if (!isEmergencyBlock(block))
        return __imp_crt_realloc(block, size);
    const std::size_t room = unitsTaken[unitOf(block)] * kUnitSize;
    if (size <= room)
        return block;
    void* const larger = __wrap_malloc(size);
    if (larger)
    {
        std::memcpy(larger, block, room);
        giveBackEmergencyBlock(block);
    }
    return larger;
}
}

// The exceptions of a thread, in the image's own thread-local storage. The runtime's version allocates heap blocks and two handles
// when a thread first throws, and aborts if that fails.
namespace __cxxabiv1
{
struct __cxa_eh_globals
{
    void* caughtExceptions;
    unsigned int uncaughtExceptions;
};

static thread_local __cxa_eh_globals globals;

__cxa_eh_globals* __cxa_get_globals() noexcept
{
    return &globals;
}

__cxa_eh_globals* __cxa_get_globals_fast() noexcept
{
    return &globals;
}
}
