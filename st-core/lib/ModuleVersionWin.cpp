#include "st-core/lib/ModuleVersionWin.h"

#include "st-core/lib/SystemLibraryWin.h"

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
}

std::uint64_t moduleVersion(const wchar_t* path)
{
    static const std::optional<VersionLibrary> library = load();
    if (!library)
        return 0;

    DWORD ignored = 0;
    std::vector<char> information(library->informationSize(path, &ignored));
    void* value = nullptr;
    UINT size = 0;
    if (information.empty() || !library->information(path, 0, static_cast<DWORD>(information.size()), information.data()) ||
        !library->queryValue(information.data(), L"\\", &value, &size) || size < sizeof(VS_FIXEDFILEINFO))
        return 0;
    const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(value);
    return static_cast<std::uint64_t>(fixed.dwFileVersionMS) << 32 | fixed.dwFileVersionLS;
}
}
