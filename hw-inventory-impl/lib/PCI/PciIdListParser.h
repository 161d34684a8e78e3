#pragma once

#include "hw-inventory-impl/lib/PCI/PciIdTable.h"

#include <cstdint>
#include <string_view>

namespace HardwareInventory
{
// The identifiers of an entry side by side, the leading one in the highest bits.
constexpr std::uint64_t joinPciIds(std::uint16_t vendor, std::uint16_t device)
{
    return std::uint64_t{vendor} << 16 | device;
}

constexpr std::uint64_t joinPciIds(std::uint16_t vendor, std::uint16_t device, std::uint16_t subsystemVendor,
                                   std::uint16_t subsystemDevice)
{
    return joinPciIds(vendor, device) << 32 | joinPciIds(subsystemVendor, subsystemDevice);
}

struct PciIdTables
{
    PciIdTable vendors;
    PciIdTable models;     // by vendor and device
    PciIdTable subsystems; // by vendor, device, subsystem vendor and subsystem device
};

// Adds the entries of a list to the tables, whose names then point into the text. A line with a bad identifier, or without the
// vendor or device that it belongs to, is dropped with a warning; a line of another form is dropped silently.
void parsePciIdList(std::string_view text, PciIdTables& tables);
}
