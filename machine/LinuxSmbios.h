#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace HardwareInventory
{
// Linux' copies of the SMBIOS entry point and of the structures as Windows gives them: one table, with a header of its own. Empty
// where Linux has neither.
std::vector<std::uint8_t> rawSmbiosTable(std::span<const std::uint8_t> entryPoint, std::span<const std::uint8_t> structures);
}
