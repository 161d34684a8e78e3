#pragma once

#include <windows.h>

namespace ZelStdCore
{
// A library of the system folder, never freed: what is in the folder of the program or on the path is not taken for it.
inline HMODULE loadSystemLibrary(const wchar_t* name)
{
    return LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
}

// Fetches a function under its own type; false when the library lacks it.
template <class Function>
bool findFunction(HMODULE library, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    return function != nullptr;
}
}
