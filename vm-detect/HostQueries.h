#pragma once

#include "vm-detect/HostFacts.h"

// The questions to the platform. The library links the Windows answers, the tests their own.
namespace VmDetect::Platform
{
CpuidRegisters cpuid(std::uint32_t leaf);

// The raw SMBIOS table with its head of eight bytes; empty when there is none.
std::vector<std::uint8_t> firmwareTable();

// HKEY_LOCAL_MACHINE\HARDWARE\DESCRIPTION\System, "SystemBiosVersion": zero-terminated texts; empty when there are none.
std::string systemBiosVersion();
}
