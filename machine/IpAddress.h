#pragma once

#include <string>
#include <string_view>

namespace HardwareInventory
{
// The same text for each way to write an address in lower case: "192.0.2.1", or eight groups without leading zeros. Empty for a
// text that is no address.
std::wstring canonicalAddress(std::wstring_view text);

// Loopback, unspecified and link-local addresses say nothing about a network, unless a link-local one is made of a MAC address.
bool staysAsItIs(const std::wstring& canonical);

// An address of the same version out of a range for documentation (RFC 5737, RFC 3849), chosen by 32 random bytes.
std::wstring documentationAddress(const std::wstring& canonical, std::string_view random);
}
