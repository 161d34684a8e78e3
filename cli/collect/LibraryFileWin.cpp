#include "cli/collect/LibraryFile.h"

#include "cli/Paths.h"
#include "cli/System.h"

#include <algorithm>
#include <vector>

#include <windows.h>

namespace HardwareInventory
{
namespace
{
// From the system folder: by its name alone it would first be searched beside the program.
class VersionLibrary
{
public:
    VersionLibrary()
    {
        const HMODULE module = LoadLibraryExW(L"version.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
        find(module, "GetFileVersionInfoSizeW", size_);
        find(module, "GetFileVersionInfoW", read_);
        find(module, "VerQueryValueW", query_);
    }

    std::vector<char> read(const std::filesystem::path& file) const
    {
        DWORD ignored = 0;
        std::vector<char> resource(size_ && read_ ? size_(file.c_str(), &ignored) : 0);
        if (!resource.empty() && !read_(file.c_str(), 0, static_cast<DWORD>(resource.size()), resource.data()))
            resource.clear();
        return resource;
    }

    std::string text(const std::vector<char>& resource, const wchar_t* name) const
    {
        void* value = nullptr;
        UINT size = 0; // with the NUL at the end
        const std::wstring path = std::wstring(L"\\StringFileInfo\\040904b0\\") + name;
        if (resource.empty() || !query_ || !query_(resource.data(), path.c_str(), &value, &size))
            return {};
        const auto* const begin = static_cast<const wchar_t*>(value);
        return utf8(std::wstring(begin, std::find(begin, begin + size, L'\0')));
    }

private:
    static void find(HMODULE module, const char* name, auto& function)
    {
        function = module ? reinterpret_cast<std::decay_t<decltype(function)>>(GetProcAddress(module, name)) : nullptr;
    }

    decltype(&GetFileVersionInfoSizeW) size_ = nullptr;
    decltype(&GetFileVersionInfoW) read_ = nullptr;
    decltype(&VerQueryValueW) query_ = nullptr;
};
}

std::filesystem::path libraryBesideProgram()
{
    return programFile().parent_path() / "hw_inventory_interface.dll";
}

LibraryVersions versionsOf(const std::filesystem::path& library)
{
    const VersionLibrary version;
    const std::vector<char> resource = version.read(library);
    return {version.text(resource, L"FileVersion"), version.text(resource, L"PciIdList")};
}
}
