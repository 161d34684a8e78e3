#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// The text that the build embeds.
extern "C" const char hw_inventory_pci_ids_begin[];
extern "C" const char hw_inventory_pci_ids_end[];

namespace HardwareInventory
{
// The built-in PCI ID list, with CR LF line ends.
inline std::string_view builtInPciIdList()
{
    // As numbers: subtracting pointers into two objects is undefined.
    const auto size =
        reinterpret_cast<std::uintptr_t>(hw_inventory_pci_ids_end) - reinterpret_cast<std::uintptr_t>(hw_inventory_pci_ids_begin);
    return {hw_inventory_pci_ids_begin, static_cast<std::size_t>(size)};
}
}
