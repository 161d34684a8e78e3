#include "st-core/lib/Hexadecimal.h"

#include <limits>
#include <optional>

namespace ZelStdCore
{
namespace
{
template <class Character>
std::optional<unsigned> hexadecimalDigit(Character character)
{
    if (character >= '0' && character <= '9')
        return static_cast<unsigned>(character - '0');
    if (character >= 'a' && character <= 'f')
        return static_cast<unsigned>(character - 'a' + 10);
    if (character >= 'A' && character <= 'F')
        return static_cast<unsigned>(character - 'A' + 10);
    return std::nullopt;
}

template <class Character>
Hexadecimal parsePrefix(std::basic_string_view<Character> text)
{
    if (text.empty() || !hexadecimalDigit(text.front()))
        return {0, HexadecimalError::noDigits};
    // "0x" with no digit after it is a zero.
    if (text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
        text.remove_prefix(2);

    std::uint64_t value = 0;
    for (const Character character : text)
    {
        const auto digit = hexadecimalDigit(character);
        if (!digit)
            break;
        value = value << 4 | *digit;
        if (value > std::numeric_limits<std::uint32_t>::max())
            return {0, HexadecimalError::outOfRange};
    }
    return {static_cast<std::uint32_t>(value), HexadecimalError::none};
}
}

Hexadecimal parseHexadecimal(std::string_view text)
{
    return parsePrefix(text);
}

Hexadecimal parseHexadecimal(std::wstring_view text)
{
    return parsePrefix(text);
}
}
