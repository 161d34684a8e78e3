#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace HardwareInventory
{
struct Letter
{
    char32_t code = 0;
    std::size_t size = 0; // in bytes
};

// The first code point of a text in UTF-8, which is not empty. A byte that begins none is U+FFFD.
Letter firstLetter(std::string_view text);

// The columns that a text takes on a terminal: none for a combining mark, two for an ideograph or an emoji.
std::size_t displayWidth(std::string_view text);

// A text in at most so many columns, its cut marked by an ellipsis.
std::string cutToWidth(std::string_view text, std::size_t width);
}
