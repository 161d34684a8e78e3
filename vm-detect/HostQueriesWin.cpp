#include "vm-detect/HostQueries.h"

#include <windows.h>

#include <algorithm>
#include <intrin.h>

namespace VmDetect::Platform
{
CpuidRegisters cpuid(std::uint32_t leaf)
{
    int registers[4] = {};
    __cpuidex(registers, static_cast<int>(leaf), 0);
    return {static_cast<std::uint32_t>(registers[0]), static_cast<std::uint32_t>(registers[1]),
            static_cast<std::uint32_t>(registers[2]), static_cast<std::uint32_t>(registers[3])};
}

// Every PC has the table: a size of 0 is a failure.
std::optional<std::vector<std::uint8_t>> firmwareTable()
{
    constexpr DWORD kRawSmbios = 0x52534D42; // 'RSMB'
    std::vector<std::uint8_t> table(GetSystemFirmwareTable(kRawSmbios, 0, nullptr, 0));
    if (table.empty())
        return std::nullopt;
    // A result beyond the buffer is the size needed: the table has grown, and nothing was copied.
    const UINT copied = GetSystemFirmwareTable(kRawSmbios, 0, table.data(), static_cast<DWORD>(table.size()));
    if (copied == 0 || copied > table.size())
        return std::nullopt;
    table.resize(copied);
    return table;
}

std::optional<std::string> systemBiosVersion()
{
    constexpr char kKey[] = "HARDWARE\\DESCRIPTION\\System";
    constexpr char kValue[] = "SystemBiosVersion";
    constexpr DWORD kStringsOnly = RRF_RT_REG_MULTI_SZ | RRF_RT_REG_SZ;
    DWORD size = 0;
    const LSTATUS status = RegGetValueA(HKEY_LOCAL_MACHINE, kKey, kValue, kStringsOnly, nullptr, nullptr, &size);
    if (status == ERROR_FILE_NOT_FOUND || status == ERROR_UNSUPPORTED_TYPE)
        return std::string();
    if (status != ERROR_SUCCESS)
        return std::nullopt;
    std::string strings(size, '\0');
    if (RegGetValueA(HKEY_LOCAL_MACHINE, kKey, kValue, kStringsOnly, nullptr, strings.data(), &size) != ERROR_SUCCESS)
        return std::nullopt;
    strings.resize(std::min<std::size_t>(size, strings.size()));
    return strings;
}
}
