#include "hw-inventory-impl/lib/Platform/WindowsMachine.h"

#include "st-core/lib/SystemLibraryWin.h"

#include <lmcons.h>

#include <lmaccess.h>
#include <lmapibuf.h>

// Functions resolved at runtime: the vendors' libraries, the network's, and a function of the loader.
namespace HardwareInventory::Platform
{
namespace
{
using ZelStdCore::findFunction;
using ZelStdCore::loadSystemLibrary;

// Not every installation of the system has it. Once loaded it stays.
HMODULE networkLibrary()
{
    static HMODULE library = nullptr;
    if (!library)
        library = loadSystemLibrary(L"netapi32.dll");
    return library;
}
}

ModuleHandle WindowsMachine::loadModule(const wchar_t* name)
{
    HMODULE module = nullptr;
    if (GetModuleHandleExW(0, name, &module))
        return module;
    return loadSystemLibrary(name);
}

void* WindowsMachine::findProcedure(ModuleHandle module, const char* name)
{
    // For null the system would search the program itself.
    return module ? reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name)) : nullptr;
}

void WindowsMachine::freeModule(ModuleHandle module)
{
    if (module)
        FreeLibrary(static_cast<HMODULE>(module));
}

DomainController WindowsMachine::domainController()
{
    const HMODULE library = networkLibrary();
    decltype(&NetGetDCName) getName = nullptr;
    decltype(&NetApiBufferFree) freeBuffer = nullptr;
    if (!library || !findFunction(library, "NetGetDCName", getName) || !findFunction(library, "NetApiBufferFree", freeBuffer))
        return {GetLastError(), L"", 0};

    BYTE* name = nullptr;
    DomainController controller;
    controller.status = getName(nullptr, nullptr, &name);
    if (controller.status != 0 || !name)
        return controller;
    controller.name = reinterpret_cast<const wchar_t*>(name);
    controller.freeStatus = freeBuffer(name);
    return controller;
}

bool processIsTerminating()
{
    BOOLEAN(NTAPI * inProgress)() = nullptr;
    return findFunction(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress", inProgress) && inProgress();
}
}
