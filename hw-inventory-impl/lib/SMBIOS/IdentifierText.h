#pragma once

#include <string>

namespace HardwareInventory::SMBIOS
{
// Firmware may give a manufacturer or product as "0x" and hexadecimal digits: such a string becomes the name that the PCI ID list
// has for the number's low 16 bits, empty where it has none. Every other string stays as it is. Both throw std::out_of_range for a
// number beyond 32 bits.
std::wstring vendorText(const std::wstring& vendor);

// Needs both strings to be numbers.
std::wstring modelText(const std::wstring& vendor, const std::wstring& product);
}
