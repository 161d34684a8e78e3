#include <windows.h>

// A library that links this file stays in its process once it is loaded. Its static C++ runtime would leave a TLS index and the
// pool for its exceptions behind each time that it is unloaded, the host may keep the address of the exception record, and the
// callbacks that run at the end of a thread must still be there.
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
