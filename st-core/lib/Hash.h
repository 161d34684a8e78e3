#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ZelStdCore
{
inline constexpr std::size_t kHashSize = 32;

// The bytes of SHA-256, and of HMAC-SHA256 (RFC 2104). They throw std::runtime_error if the system's library fails.
std::string sha256(std::string_view message);
std::string hmacSha256(std::string_view key, std::string_view message);

// As many bytes of the system's random numbers. Throws std::runtime_error if there are none.
std::string randomKey();
}
