#pragma once

#include "vm-detect/HostFacts.h"

#include <optional>

// The questions to the platform. The library links the Windows answers, the tests their own. An answer is absent where its source
// cannot be read at the moment.
namespace VmDetect::Platform
{
CpuidRegisters cpuid(std::uint32_t leaf);

// The raw SMBIOS table with its header of eight bytes.
std::optional<std::vector<std::uint8_t>> firmwareTable();

// HKEY_LOCAL_MACHINE\HARDWARE\DESCRIPTION\System, "SystemBiosVersion": zero-terminated strings; empty if there are none.
std::optional<std::string> systemBiosVersion();
}
