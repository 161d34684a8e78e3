#pragma once

#include <string>
#include <string_view>

namespace ZelStdCore
{
// Digests are 32 bytes. Each function throws std::runtime_error if the system's library fails.

std::string sha256(std::string_view message);

// HMAC-SHA256 (RFC 2104).
std::string hmacSha256(std::string_view key, std::string_view message);

// 32 bytes of the system's random numbers.
std::string randomKey();
}
