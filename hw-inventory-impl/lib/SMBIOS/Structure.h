#pragma once

#include "st-core/lib/SmbiosStructure.h"

#include <compare>
#include <string>

namespace HardwareInventory::SMBIOS
{
using Struct = ZelStdCore::SmbiosStructure;
using StructureType = ZelStdCore::SmbiosType;
using ZelStdCore::numberAt;

struct Version
{
    std::uint8_t major = 0;
    std::uint8_t minor = 0;

    // By value, major before minor.
    friend auto operator<=>(const Version&, const Version&) = default;
};

// The wide strings of a structure by string number; number 0 is the empty string, and so is one that cannot be converted, which
// is logged. A string that the table's end cuts off is as long as what is there of it.
std::vector<std::wstring> strings(const Struct& structure);

// For the log.
const wchar_t* structureTypeName(std::uint8_t type);
}
