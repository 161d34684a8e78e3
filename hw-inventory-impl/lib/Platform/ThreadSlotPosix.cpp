#include "hw-inventory-impl/lib/Platform/Platform.h"

#include <unistd.h>

#include <utility>

namespace HardwareInventory::Platform
{
namespace
{
struct KeptValue
{
    void* value = nullptr;
    void (*destroy)(void*) = nullptr;

    ~KeptValue()
    {
        if (value)
            destroy(std::exchange(value, nullptr));
    }
};

thread_local KeptValue kept;
}

void* threadValue()
{
    return kept.value;
}

bool keepForThread(void* value, void (*destroy)(void*))
{
    kept.value = value;
    kept.destroy = destroy;
    return true;
}

std::uint32_t currentThreadId()
{
    return static_cast<std::uint32_t>(gettid());
}

// Libraries stay loaded until the last destructor has run.
bool processIsTerminating()
{
    return false;
}
}
