#include "cli/documents/Placeholders.h"

#include "cli/documents/Text.h"

#include <algorithm>
#include <string>

namespace HardwareInventory
{
namespace
{
constexpr std::size_t kFewestFillers = 4; // a single "F" or "X" can be a name

bool isDigit(char letter)
{
    return letter >= '0' && letter <= '9';
}

char upper(char letter)
{
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

bool matches(std::string_view value, std::string_view text)
{
    for (; !text.empty(); text.remove_prefix(1))
    {
        if (text.front() == '#')
        {
            const std::size_t digits = std::ranges::find_if_not(value, isDigit) - value.begin();
            if (digits == 0)
                return false;
            value.remove_prefix(digits);
        }
        else if (!value.empty() && upper(value.front()) == upper(text.front()))
            value.remove_prefix(1);
        else
            return false;
    }
    return value.empty();
}

// "0x00000000", "FF:FF:FF:FF:FF:FF", "XXXXXXXX", "....".
bool isFiller(std::string_view value)
{
    if (value.starts_with("0x") || value.starts_with("0X"))
        value.remove_prefix(2);
    std::string letters;
    std::ranges::copy_if(value, std::back_inserter(letters),
                         [](char letter) { return std::string_view(":-. ").find(letter) == std::string_view::npos; });
    if (letters.empty())
        return value.size() >= kFewestFillers;
    const char first = upper(letters.front());
    const bool alike = std::ranges::all_of(letters, [&](char letter) { return upper(letter) == first; });
    return alike &&
           (first == '0' || (letters.size() >= kFewestFillers && std::string_view("FX*_?#").find(first) != std::string_view::npos));
}
}

bool isPlaceholder(std::string_view key, std::string_view value)
{
    value = trimmed(value);
    if (value.empty())
        return true;
    const bool isNumber = std::ranges::find(kNumberKeys, key) != kNumberKeys.end();
    return (isNumber && isFiller(value)) ||
           std::ranges::any_of(kPlaceholders, [&](const Placeholder& each) { return matches(value, each.text); });
}
}
