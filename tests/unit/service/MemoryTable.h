#pragma once

#include <cstdint>
#include <string>
#include <vector>

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
    constexpr std::uint8_t length = 0x22;
    std::vector<std::uint8_t> table{0, 2, 7, 0, 0, 0, 0, 0};
    for (const MemoryDevice& device : devices)
    {
        std::vector<std::uint8_t> structure(length);
        structure[0x00] = 17;
        structure[0x01] = length;
        structure[0x0C] = static_cast<std::uint8_t>(device.mebibytes);
        structure[0x0D] = static_cast<std::uint8_t>(device.mebibytes >> 8);
        structure[0x10] = 1; // locator
        structure[0x17] = 2; // manufacturer
        structure[0x18] = 3; // serial number
        for (const std::string& text : {device.locator, std::string(" ACME Memory "), std::string("RAM-1")})
            structure.insert(structure.end(), text.c_str(), text.c_str() + text.size() + 1);
        structure.push_back(0);
        table.insert(table.end(), structure.begin(), structure.end());
    }
    table.insert(table.end(), {127, 4, 0, 0, 0, 0});
    return table;
}
}
