#include "hw-inventory-impl/lib/Platform.h"

#include <windows.h>

#include <memory>
#include <new>

// Fiber-local storage, because its callback runs before the loader takes its lock. A thread_local object would be destroyed under
// that lock, where releasing COM interfaces can wait for ever on a thread that wants it too.
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

    void WINAPI destroyKept(void* data)
    {
        // The other threads are gone by then, with whatever locks they held.
        if (!data || processIsTerminating())
            return;
        const std::unique_ptr<KeptValue> kept(static_cast<KeptValue*>(data));
        kept->destroy(kept->value);
    }

    bool haveSlot()
    {
        if (slot == FLS_OUT_OF_INDEXES)
            slot = FlsAlloc(destroyKept);
        return slot != FLS_OUT_OF_INDEXES;
    }

    KeptValue* keptValue()
    {
        return slot == FLS_OUT_OF_INDEXES ? nullptr : static_cast<KeptValue*>(FlsGetValue(slot));
    }
}

void* threadValue()
{
    const KeptValue* kept = keptValue();
    return kept ? kept->value : nullptr;
}

bool keepForThread(void* value, void (*destroy)(void*))
{
    if (!haveSlot())
        return false;
    if (KeptValue* kept = keptValue())
    {
        *kept = {value, destroy};
        return true;
    }
    std::unique_ptr<KeptValue> kept(new (std::nothrow) KeptValue{value, destroy});
    if (!kept || !FlsSetValue(slot, kept.get()))
        return false;
    kept.release();
    return true;
}

std::uint32_t currentThreadId()
{
    return GetCurrentThreadId();
}
}
