#pragma once

#include <string>
#include <string_view>

namespace HardwareInventory
{
// Without white space at both ends.
std::string_view trimmed(std::string_view text);

// With ASCII letters in capitals.
std::string inCapitals(std::string_view text);

// Bytes as hexadecimal digits, two a byte.
std::string hexadecimal(std::string_view bytes);

// A text as one line for a terminal: trimmed, and with '?' for control characters.
std::string oneLine(std::string_view text);
}
