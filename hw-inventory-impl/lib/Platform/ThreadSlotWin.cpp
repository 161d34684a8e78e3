#include "hw-inventory-impl/lib/Platform/Platform.h"

#include <windows.h>

#include <memory>
#include <new>
#include <utility>

// Fiber-local storage, because its callback runs before the loader takes its lock. A thread_local object would be destroyed under
// that lock, where releasing COM interfaces can deadlock with a thread that waits for it.
//
// The callback runs on the thread that deletes the fiber, which need not be the value's. The value itself is therefore kept by
// thread, and the fiber's slot only reports an end.
namespace HardwareInventory::Platform
{
namespace
{
struct KeptValue
{
    void* value;
    void (*destroy)(void*);
};

// Allocated with the first value that is kept and never given back.
DWORD slot = FLS_OUT_OF_INDEXES;

thread_local KeptValue* keptByThread = nullptr;

void WINAPI destroyKept(void* data)
{
    // The thread of a fiber that is deleted elsewhere goes on with its value. Identifiers would not do to compare: the system
    // uses those of threads that ended again.
    if (!data || data != keptByThread)
        return;
    // The other threads are gone by then, with whatever locks they held.
    if (processIsTerminating())
        return;
    const std::unique_ptr<KeptValue> kept(std::exchange(keptByThread, nullptr));
    kept->destroy(kept->value);
}

bool haveSlot()
{
    if (slot == FLS_OUT_OF_INDEXES)
        slot = FlsAlloc(destroyKept);
    return slot != FLS_OUT_OF_INDEXES;
}
}

void* threadValue()
{
    return keptByThread ? keptByThread->value : nullptr;
}

bool keepForThread(void* value, void (*destroy)(void*))
{
    if (!haveSlot())
        return false;
    if (keptByThread)
    {
        *keptByThread = {value, destroy};
        return true;
    }
    std::unique_ptr<KeptValue> kept(new (std::nothrow) KeptValue{value, destroy});
    if (!kept || !FlsSetValue(slot, kept.get()))
        return false;
    keptByThread = kept.release();
    return true;
}

std::uint32_t currentThreadId()
{
    return GetCurrentThreadId();
}
}
