#include "machine/LinuxSmbios.h"

#include "st-core/lib/SmbiosStructure.h"

#include <cstring>

namespace HardwareInventory
{
namespace
{
// Where the entry points have the version: "_SM3_", of 64 bits, and "_SM_".
constexpr std::size_t kVersion64 = 7;
constexpr std::size_t kVersion32 = 6;
}

std::vector<std::uint8_t> rawSmbiosTable(std::span<const std::uint8_t> entryPoint, std::span<const std::uint8_t> structures)
{
    if (structures.empty() || entryPoint.size() < kVersion64 + 2)
        return {};
    const std::size_t version = entryPoint[3] == '3' ? kVersion64 : kVersion32;
    std::vector<std::uint8_t> table(ZelStdCore::kRawSmbiosHeaderSize);
    table[1] = entryPoint[version];
    table[2] = entryPoint[version + 1];
    const auto size = static_cast<std::uint32_t>(structures.size());
    std::memcpy(&table[4], &size, sizeof size);
    table.insert(table.end(), structures.begin(), structures.end());
    return table;
}
}
