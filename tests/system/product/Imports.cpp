#include "tests/system/product/Imports.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace
{
template <class Value>
Value* at(HMODULE module, std::size_t offset)
{
    return reinterpret_cast<Value*>(reinterpret_cast<char*>(module) + offset);
}

void replace(void*& slot, void* replacement)
{
    DWORD protection = 0;
    VirtualProtect(&slot, sizeof slot, PAGE_READWRITE, &protection);
    slot = replacement;
    VirtualProtect(&slot, sizeof slot, protection, &protection);
}

HMODULE WINAPI loadNothing(const wchar_t*, HANDLE, DWORD)
{
    return nullptr;
}
}

void replaceImport(HMODULE module, const char* function, void* replacement)
{
    const auto& headers = *at<IMAGE_NT_HEADERS>(module, at<IMAGE_DOS_HEADER>(module, 0)->e_lfanew);
    const auto& directory = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (const auto* library = at<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress); library->Name != 0; ++library)
    {
        const auto* name = at<ULONGLONG>(module, library->OriginalFirstThunk);
        for (auto* slot = at<void*>(module, library->FirstThunk); *name != 0; ++name, ++slot)
            if (!IMAGE_SNAP_BY_ORDINAL64(*name) && std::strcmp(at<IMAGE_IMPORT_BY_NAME>(module, *name)->Name, function) == 0)
                return replace(*slot, replacement);
    }
    throw std::runtime_error(std::string("not imported: ") + function);
}

void takeDbgHelpFrom(HMODULE module)
{
    replaceImport(module, "LoadLibraryExW", reinterpret_cast<void*>(&loadNothing));
}
