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
    std::string table("\0\2\7\0\0\0\0\0", 8);
    for (const MemoryDevice& device : devices)
    {
        std::string formatted(0x22, '\0');
        formatted[0] = 17;
        formatted[1] = 0x22;
        formatted[0x0C] = static_cast<char>(device.mebibytes);
        formatted[0x0D] = static_cast<char>(device.mebibytes >> 8);
        formatted.replace(0x10, 1, 1, '\1').replace(0x17, 2, "\2\3"); // locator, manufacturer, serial number
        table += formatted + device.locator + std::string("\0 ACME Memory \0RAM-1\0\0", 22);
    }
    table += std::string("\x7F\4\0\0\0\0", 6);
    return {table.begin(), table.end()};
}
}
