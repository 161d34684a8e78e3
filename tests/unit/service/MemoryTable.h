#pragma once

#include "tests/unit/smbios/SmbiosTest.h"

// A firmware table (version 2.7) of memory devices, as the system's firmware-table call returns it.
namespace fakes
{
struct MemoryDevice
{
    std::string locator;
    std::uint16_t mebibytes;
};

inline std::vector<std::uint8_t> memoryTable(const std::vector<MemoryDevice>& devices)
{
    std::vector<smbios_test::Structure> structures;
    for (const MemoryDevice& device : devices)
        structures.push_back(smbios_test::Structure(17, 0x22, {device.locator, " ACME Memory ", "RAM-1"})
                                 .set(0x0C, device.mebibytes)
                                 .set<std::uint8_t>(0x10, 1)   // locator
                                 .set<std::uint8_t>(0x17, 2)   // manufacturer
                                 .set<std::uint8_t>(0x18, 3)); // serial number
    return smbios_test::rawTable(2, 7, std::move(structures));
}
}
