#pragma once

#include <windows.h>

#include <cstring>
#include <stdexcept>
#include <string>

// Redirects a module's calls of an imported function, until the process ends. Throws if the module does not import it.
template <class Function>
void replaceImport(HMODULE module, const char* function, Function* replacement)
{
    const auto at = [module](auto offset) { return reinterpret_cast<char*>(module) + offset; };
    const auto& headers = *reinterpret_cast<IMAGE_NT_HEADERS*>(at(reinterpret_cast<IMAGE_DOS_HEADER*>(module)->e_lfanew));
    const auto& directory = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* library = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(at(directory.VirtualAddress)); library->Name != 0; ++library)
    {
        auto* name = reinterpret_cast<ULONGLONG*>(at(library->OriginalFirstThunk));
        for (auto* slot = reinterpret_cast<Function**>(at(library->FirstThunk)); *name != 0; ++name, ++slot)
        {
            if (IMAGE_SNAP_BY_ORDINAL64(*name) ||
                std::strcmp(reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(at(*name))->Name, function) != 0)
                continue;
            DWORD protection = 0;
            VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
            *slot = replacement;
            VirtualProtect(slot, sizeof *slot, protection, &protection);
            return;
        }
    }
    throw std::runtime_error(std::string("not imported: ") + function);
}
