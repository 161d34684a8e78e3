#include "hw-inventory-impl/lib/Platform/WindowsMachine.h"

#include "st-core/lib/Unique.h"

#include <windows.h>

#include <algorithm>
#include <array>

// What the system itself reports: the registry, the locale, the memory status and the firmware's tables.
namespace HardwareInventory::Platform
{
namespace
{
using RegistryKey = ZelStdCore::Unique<HKEY, RegCloseKey>;

// A value may grow between the queries for its size and its data: give up after this many attempts.
constexpr int kSizeAttempts = 4;

HKEY predefinedKey(RegistryRoot)
{
    return HKEY_LOCAL_MACHINE;
}

bool isText(DWORD type)
{
    return type == REG_SZ || type == REG_EXPAND_SZ;
}

// Registry strings are counted in bytes, whole characters or not, and are zero-terminated, once, twice or not at all.
std::wstring textOf(std::wstring buffer, DWORD bytes)
{
    buffer.resize(bytes / sizeof(wchar_t));
    buffer.resize(std::min(buffer.find(L'\0'), buffer.size()));
    return buffer;
}
}

Result<std::wstring, Failure<RegistryStep>> WindowsMachine::registryString(RegistryRoot root, const std::wstring& keyPath,
                                                                           const std::wstring& valueName)
{
    RegistryKey key;
    if (const LSTATUS status = RegOpenKeyW(predefinedKey(root), keyPath.c_str(), key.put()); status != ERROR_SUCCESS)
        return Failure<RegistryStep>{RegistryStep::openKey, static_cast<std::uint32_t>(status)};

    DWORD bytes = 0;
    LSTATUS status = RegQueryValueExW(key.get(), valueName.c_str(), nullptr, nullptr, nullptr, &bytes);
    if (status != ERROR_SUCCESS)
        return Failure<RegistryStep>{RegistryStep::valueSize, static_cast<std::uint32_t>(status)};

    std::wstring buffer;
    DWORD type = REG_NONE;
    for (int attempt = 0; attempt < kSizeAttempts; ++attempt)
    {
        buffer.resize(bytes / sizeof(wchar_t) + 1);
        bytes = static_cast<DWORD>(buffer.size() * sizeof(wchar_t));
        status = RegQueryValueExW(key.get(), valueName.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()), &bytes);
        if (status != ERROR_MORE_DATA)
            break;
    }
    if (status == ERROR_SUCCESS && !isText(type))
        status = ERROR_UNSUPPORTED_TYPE;
    if (status != ERROR_SUCCESS)
        return Failure<RegistryStep>{RegistryStep::value, static_cast<std::uint32_t>(status)};
    return textOf(std::move(buffer), bytes);
}

Result<std::wstring, LastError> WindowsMachine::localeInfo(std::uint32_t locale, LocalePart part)
{
    std::array<wchar_t, 9> text{};
    const LCTYPE type = part == LocalePart::language ? LOCALE_SISO639LANGNAME : LOCALE_SISO3166CTRYNAME;
    if (GetLocaleInfoW(locale, type, text.data(), static_cast<int>(text.size())) == 0)
        return LastError{GetLastError()};
    return std::wstring(text.data());
}

Result<std::uint64_t, LastError> WindowsMachine::totalPhysicalMemory()
{
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    static_assert(sizeof status == 64);
    if (!GlobalMemoryStatusEx(&status))
        return LastError{GetLastError()};
    return status.ullTotalPhys;
}

std::uint32_t WindowsMachine::enumerateFirmwareTables(std::uint32_t provider)
{
    return EnumSystemFirmwareTables(provider, nullptr, 0);
}

Result<std::vector<std::uint8_t>, FirmwareStep> WindowsMachine::firmwareTable(std::uint32_t provider, std::uint32_t table)
{
    const UINT size = GetSystemFirmwareTable(provider, table, nullptr, 0);
    if (size == 0)
        return FirmwareStep::size;
    std::vector<std::uint8_t> bytes(size);
    const UINT copied = GetSystemFirmwareTable(provider, table, bytes.data(), size);
    // A table that has outgrown the buffer since was not copied.
    if (copied == 0 || copied > size)
        return FirmwareStep::read;
    bytes.resize(copied);
    return bytes;
}
}
