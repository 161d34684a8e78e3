#include "hw-inventory-impl/lib/NameTable.h"
#include "hw-inventory-impl/lib/SMBIOS/Structure.h"

namespace HardwareInventory::SMBIOS
{
namespace
{
// By structure type.
constexpr auto kStandardNames = std::to_array<const wchar_t*>({
    L"BIOS",
    L"system",
    L"baseboard",
    L"system chassis",
    L"processor",
    L"memory controller",
    L"memory module",
    L"processor cache",
    L"port connector",
    L"system slots",
    L"onboard device",
    L"OEM strings",
    L"system options",
    L"language",
    L"group associations",
    L"system event log",
    L"memory array",
    L"memory device",
    L"memory error info (32bit)",
    L"memory array mapped address",
    L"memory device mapped address",
    L"built-in pointing device",
    L"portable battery",
    L"system reset",
    L"hardware security",
    L"system power controls",
    L"voltage probe",
    L"cooling device",
    L"temperature probe",
    L"current probe",
    L"out-of-band remote access",
    L"BIS entry point",
    L"system boot info",
    L"memory error info (64bit)",
    L"management device",
    L"management device component",
    L"management device threshold",
    L"memory channel",
    L"IPMI device",
    L"power supply",
    L"additional info",
    L"onboard device ext",
    L"management controller host",
});
static_assert(kStandardNames.size() == 43);

constexpr int kInactive = 126;
constexpr auto kControlNames = std::to_array<const wchar_t*>({L"inactive", L"end-of-table"});
}

const wchar_t* structureTypeName(std::uint8_t type)
{
    if (type >= kInactive)
        return nameOf(kControlNames, type, kInactive, L"invalid");
    return nameOf(kStandardNames, type, 0, L"invalid");
}
}
