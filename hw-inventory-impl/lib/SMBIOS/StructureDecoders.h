#pragma once

#include "hw-inventory-impl/lib/Records.h"
#include "hw-inventory-impl/lib/SMBIOS/Structure.h"

#include <optional>
#include <string>

// What the inventory takes from a structure; nothing where it has no use for it. A field that the structure is too short for and
// a string that it does not have count as empty or 0.
namespace HardwareInventory::SMBIOS
{
// "VENDOR VERSION, DATE"
std::optional<std::wstring> decodeBios(const Version& version, const Struct& structure);

struct SystemFacts
{
    std::wstring manufacturer;
    std::wstring model;
    std::wstring serialNumber;
};
std::optional<SystemFacts> decodeSystem(const Version& version, const Struct& structure);

// Motherboards only.
std::optional<MotherBoardInfo> decodeBaseBoard(const Version& version, const Struct& structure);

// The type's name.
std::optional<std::wstring> decodeChassis(const Version& version, const Struct& structure);

// Central processors only.
std::optional<CpuInfo> decodeProcessor(const Version& version, const Struct& structure);

// Populated sockets only.
std::optional<RamInfo> decodeMemoryDevice(const Version& version, const Struct& structure);
}
