#include "hw-inventory-impl/lib/GPU/VendorModule.h"

#include "hw-inventory-impl/lib/Platform/Platform.h"

namespace HardwareInventory::VendorModule
{
namespace
{
Platform::ModuleHandle slot = nullptr;
}

bool load(std::initializer_list<const wchar_t*> names)
{
    for (const wchar_t* const name : names)
    {
        slot = Platform::loadModule(name);
        if (slot)
            return true;
    }
    return false;
}

void* procedure(const char* name)
{
    return Platform::findProcedure(slot, name);
}

void unload()
{
    Platform::freeModule(slot);
    slot = nullptr;
}
}
