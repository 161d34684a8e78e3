#pragma once

#include "vm-detect/HostFacts.h"

#include <optional>

// The questions to the platform. The library links the Windows answers, the tests their own. An answer is absent where the source
// cannot be read at the moment.
namespace VmDetect::Platform
{
CpuidRegisters cpuid(std::uint32_t leaf);

// The raw SMBIOS table with its head of eight bytes.
std::optional<std::vector<std::uint8_t>> firmwareTable();

// HKEY_LOCAL_MACHINE\HARDWARE\DESCRIPTION\System, "SystemBiosVersion": zero-terminated texts; empty when there are none.
std::optional<std::string> systemBiosVersion();
}
