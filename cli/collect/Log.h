#pragma once

#include "bindings/cpp/hw_inventory.hpp"

#include <array>
#include <string_view>

namespace HardwareInventory
{
// The levels of --log. Each one includes those before it.
inline constexpr std::array<const char*, 4> kLogLevels = {"error", "warning", "info", "trace"};

// The index in kLogLevels that a line of the library has.
std::size_t logLevel(hw_inventory::Level level, std::string_view line);
}
