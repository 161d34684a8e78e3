#include "hw-inventory-impl/lib/Platform/Platform.h"

#include <windows.h>

#include <lmcons.h>

// What lives in libraries that are looked up by name: the vendors' own, the network's, and a function of the loader.
namespace HardwareInventory::Platform
{
namespace
{
// No dialog about a damaged library or a missing disk may stop the host; its own setting returns afterwards.
class QuietErrors
{
public:
    QuietErrors() { SetThreadErrorMode(GetThreadErrorMode() | SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &earlier_); }
    ~QuietErrors()
    {
        const DWORD error = GetLastError();
        SetThreadErrorMode(earlier_, nullptr);
        SetLastError(error);
    }
    QuietErrors(const QuietErrors&) = delete;

private:
    DWORD earlier_ = 0;
};

// The folder of the program and the current folder are not searched: whoever can write there must not decide what runs here.
HMODULE loadFromSystemFolder(const wchar_t* name)
{
    const QuietErrors quiet;
    return LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
}

// Not every installation of the system has it. Once loaded it stays.
HMODULE networkLibrary()
{
    static HMODULE library = nullptr;
    if (!library)
        library = loadFromSystemFolder(L"netapi32.dll");
    return library;
}

template <class Function>
Function* procedure(HMODULE module, const char* name)
{
    return reinterpret_cast<Function*>(findProcedure(module, name));
}
}

ModuleHandle loadModule(const wchar_t* name)
{
    HMODULE module = nullptr;
    if (GetModuleHandleExW(0, name, &module))
        return module;
    return loadFromSystemFolder(name);
}

void* findProcedure(ModuleHandle module, const char* name)
{
    // For null the system would search the program itself.
    return module ? reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name)) : nullptr;
}

void freeModule(ModuleHandle module)
{
    if (module)
        FreeLibrary(static_cast<HMODULE>(module));
}

DomainController domainController()
{
    const HMODULE library = networkLibrary();
    if (!library)
        return {GetLastError(), L"", 0};
    const auto getName = procedure<DWORD WINAPI(LPCWSTR server, LPCWSTR domain, BYTE * *buffer)>(library, "NetGetDCName");
    if (!getName)
        return {GetLastError(), L"", 0};
    const auto freeBuffer = procedure<DWORD WINAPI(void* buffer)>(library, "NetApiBufferFree");
    if (!freeBuffer)
        return {GetLastError(), L"", 0};

    BYTE* name = nullptr;
    DomainController answer;
    answer.status = getName(nullptr, nullptr, &name);
    if (answer.status != 0 || !name)
        return answer;
    answer.name = reinterpret_cast<const wchar_t*>(name);
    answer.freeStatus = freeBuffer(name);
    return answer;
}

bool processIsTerminating()
{
    const auto inProgress = procedure<BOOLEAN NTAPI()>(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress");
    return inProgress && inProgress();
}
}
