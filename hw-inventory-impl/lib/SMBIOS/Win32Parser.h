#pragma once

#include "hw-inventory-impl/lib/SMBIOS/AbstractParser.h"

#include <optional>

namespace HardwareInventory::SMBIOS
{
// Takes the table from the operating system's firmware-table interface.
class Win32Parser : public AbstractParser
{
public:
    // Whether the system offers SMBIOS data at all.
    static bool isAvailable();

    // Throws std::runtime_error for a truncated table.
    void read() override;

    // A process can read the physical memory from 0xC0000 to 0xFFFFF alone, where firmware without UEFI keeps the table. Throws
    // std::runtime_error for a table elsewhere, and for an entry point too short for its address.
    void handleEntryPoint32(std::span<const std::uint8_t> entryPoint) override;
    void handleEntryPoint64(std::span<const std::uint8_t> entryPoint) override;

private:
    void fill(std::uint32_t provider, std::uint32_t table);
    // Unset: the entry point ends before the field does.
    void walkPhysicalMemory(std::optional<std::uint64_t> address, std::optional<std::uint32_t> length);

    std::vector<std::uint8_t> buffer_; // handlers get views of it
};
}
