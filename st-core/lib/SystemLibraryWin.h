#pragma once

#include <windows.h>

namespace ZelStdCore
{
// Loads a library from the system folder alone: whoever can write to the folder of the program, the current folder or one on the
// path must not decide what runs here. Raises no dialog. Null on failure, with the last OS error.
HMODULE loadSystemLibrary(const wchar_t* name);

// Fetches a function under its own type; false when the library has none of that name.
template <class Function>
bool findFunction(HMODULE library, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    return function != nullptr;
}
}
