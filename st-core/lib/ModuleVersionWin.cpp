#include "st-core/lib/ModuleVersionWin.h"

#include "st-core/lib/SystemLibraryWin.h"

#include <algorithm>
#include <optional>
#include <vector>

#include <windows.h>

namespace ZelStdCore
{
namespace
{
// Loaded at first use: only the tracer's own log needs it.
struct VersionLibrary
{
    decltype(&::GetFileVersionInfoSizeW) informationSize;
    decltype(&::GetFileVersionInfoW) information;
    decltype(&::VerQueryValueW) queryValue;
};

std::optional<VersionLibrary> load()
{
    const HMODULE library = loadSystemLibrary(L"version.dll");
    VersionLibrary functions{};
    const bool complete = library && findFunction(library, "GetFileVersionInfoSizeW", functions.informationSize) &&
                          findFunction(library, "GetFileVersionInfoW", functions.information) &&
                          findFunction(library, "VerQueryValueW", functions.queryValue);
    return complete ? std::optional(functions) : std::nullopt;
}

// Calls use(value, size) with a value of a file's version resource, if it has that.
void queryResource(const wchar_t* path, const wchar_t* name, const auto& use)
{
    static const std::optional<VersionLibrary> library = load();
    if (!library)
        return;

    DWORD ignored = 0;
    std::vector<char> information(library->informationSize(path, &ignored));
    void* value = nullptr;
    UINT size = 0;
    if (!information.empty() && library->information(path, 0, static_cast<DWORD>(information.size()), information.data()) &&
        library->queryValue(information.data(), name, &value, &size))
        use(value, size);
}
}

std::uint64_t moduleVersion(const wchar_t* path)
{
    std::uint64_t version = 0;
    queryResource(path, L"\\",
                  [&](const void* value, UINT size)
                  {
                      if (size < sizeof(VS_FIXEDFILEINFO))
                          return;
                      const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(value);
                      version = static_cast<std::uint64_t>(fixed.dwFileVersionMS) << 32 | fixed.dwFileVersionLS;
                  });
    return version;
}

std::wstring moduleText(const wchar_t* path, const wchar_t* name)
{
    std::wstring text;
    queryResource(path, (std::wstring(L"\\StringFileInfo\\040904b0\\") + name).c_str(),
                  [&](const void* value, UINT size)
                  {
                      // Its length is counted with the NUL at its end.
                      text.assign(static_cast<const wchar_t*>(value), size);
                      text.resize(std::min(text.find(L'\0'), text.size()));
                  });
    return text;
}
}
