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

// A base-16 conversion with the result of a 32-bit unsigned long on every platform.
struct Hexadecimal
{
    std::uint32_t value = 0;
    HexadecimalError error = HexadecimalError::none;
};

// Reads the longest hexadecimal prefix (optionally after "0x") and ignores the rest. The text must begin with a
// hexadecimal digit; a value beyond 32 bits is out of range.
Hexadecimal parseHexadecimal(std::string_view text);
Hexadecimal parseHexadecimal(std::wstring_view text);
}
