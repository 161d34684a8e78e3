#pragma once

#include <string>
#include <string_view>

namespace HardwareInventory
{
// The 32 bytes of HMAC-SHA256 (RFC 2104). Throws std::runtime_error if the system's library fails.
std::string hmacSha256(std::string_view key, std::string_view message);

// 32 bytes of the system's random numbers. Throws std::runtime_error if there are none.
std::string randomKey();
}
