#include <windows.h>

// A library that links this file is never unloaded. Each unload would leak a TLS index and the exception pool of the static C++
// runtime, the host may keep the address of the exception record, and the callbacks at the end of a thread must stay valid.
namespace
{
bool pinThisModule()
{
    HMODULE module = nullptr;
    return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                              reinterpret_cast<const wchar_t*>(&pinThisModule), &module) != 0;
}

[[maybe_unused]] const bool pinned = pinThisModule();
}
