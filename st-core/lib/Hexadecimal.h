#pragma once

#include <cstdint>
#include <string_view>

namespace ZelStdCore
{
enum class HexadecimalError
{
    none,
    noDigits,
    outOfRange
};

// A base-16 conversion with the outcome of a 32-bit unsigned long on every platform.
struct Hexadecimal
{
    std::uint32_t value = 0;
    HexadecimalError error = HexadecimalError::none;
};

// Reads the longest hexadecimal prefix ("0x" may lead it) and ignores what follows it. The text must begin with a
// hexadecimal digit; a value beyond 32 bits is out of range.
Hexadecimal parseHexadecimal(std::string_view text);
Hexadecimal parseHexadecimal(std::wstring_view text);
}
