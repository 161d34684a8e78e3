#pragma once

#include "hw-inventory-impl/lib/PCI/PciIdListParser.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace HardwareInventory
{
// The public PCI ID list: names of vendors, devices and subsystems. A name is the rest of the line behind the double space, a
// trailing carriage return included. It is widened at each lookup.
class PciIdDatabase
{
public:
    // The database of the built-in list, parsed on the first call. Unsynchronised; never destroyed.
    static PciIdDatabase& instance();

    // Empty; parse() adds to it.
    PciIdDatabase() = default;

    // Reads a list in a file. Throws RuntimeException if the file cannot be mapped.
    explicit PciIdDatabase(const std::wstring& path);

    PciIdDatabase(const PciIdDatabase&) = delete;
    PciIdDatabase& operator=(const PciIdDatabase&) = delete;

    // Adds a text's entries. The text must outlive the database.
    void parse(const char* text, std::size_t length);

    // An unknown identifier logs a warning and yields the empty text; an unknown subsystem logs one and yields the device's name.
    std::wstring vendorName(std::uint16_t vendor) const;
    std::wstring modelName(std::uint16_t vendor, std::uint16_t device) const;
    std::wstring subsystemModelName(std::uint16_t vendor, std::uint16_t device, std::uint16_t subsystemVendor,
                                    std::uint16_t subsystemDevice) const;

    // All vendor names in ascending order of vendor ID.
    std::vector<std::wstring> vendorNames() const;

private:
    std::string ownedText_; // of a list in a file
    PciIdTables tables_;
};
}
