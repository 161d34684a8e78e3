#include "st-core/lib/SymbolSearchPathWin.h"

#include <array>
#include <optional>

#include <windows.h>

namespace ZelStdCore
{
namespace
{
constexpr const wchar_t* kServer = L"https://msdl.microsoft.com/download/symbols";

// Paths and variables are read into a buffer of this size: a longer program path is cut, a longer variable left out.
using Buffer = std::array<wchar_t, 130>;

std::wstring programFolder()
{
    Buffer buffer{};
    const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    const std::wstring path(buffer.data(), length < buffer.size() ? length : buffer.size() - 1);
    const auto separator = path.find_last_of(L"\\/");
    return separator == std::wstring::npos ? std::wstring() : path.substr(0, separator);
}

std::optional<std::wstring> variable(const wchar_t* name)
{
    Buffer buffer{};
    const DWORD length = GetEnvironmentVariableW(name, buffer.data(), static_cast<DWORD>(buffer.size()));
    if (length == 0 || length >= buffer.size())
        return std::nullopt;
    return std::wstring(buffer.data(), length);
}
}

std::wstring composeSymbolSearchPath(std::wstring_view userPath, bool withServer)
{
    std::wstring path;
    const auto add = [&path](std::wstring_view element)
    {
        if (!element.empty())
            path.append(element) += L';';
    };

    add(userPath);
    add(programFolder());
    for (const wchar_t* name : {L"_NT_SYMBOL_PATH", L"_NT_ALTERNATE_SYMBOL_PATH", L"SYSTEMROOT"})
        add(variable(name).value_or(L""));
    if (const auto systemRoot = variable(L"SYSTEMROOT"))
        add(*systemRoot + L"\\System32");
    if (withServer)
        add(L"SRV*" + variable(L"SYSTEMDRIVE").value_or(L"C:") + L"\\websymbols*" + kServer);
    return path;
}
}
