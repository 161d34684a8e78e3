#include "cli/documents/Text.h"

#include <algorithm>

namespace HardwareInventory
{
std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kSpace = " \t\r\n\v\f";
    const std::size_t begin = text.find_first_not_of(kSpace);
    return begin == std::string_view::npos ? std::string_view() : text.substr(begin, text.find_last_not_of(kSpace) - begin + 1);
}

std::string inCapitals(std::string_view text)
{
    std::string capitals(text);
    std::ranges::transform(capitals, capitals.begin(),
                           [](char letter)
                           { return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter; });
    return capitals;
}

std::string hexadecimal(std::string_view bytes)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string digits;
    for (const char byte : bytes)
    {
        digits += kDigits[static_cast<unsigned char>(byte) / 16];
        digits += kDigits[static_cast<unsigned char>(byte) % 16];
    }
    return digits;
}

std::string oneLine(std::string_view text)
{
    std::string line(trimmed(text));
    for (std::size_t index = 0; index < line.size(); ++index)
    {
        const auto byte = static_cast<unsigned char>(line[index]);
        if (byte < 0x20 || byte == 0x7F)
            line[index] = '?';
        else if (byte == 0xC2 && static_cast<unsigned char>(line[index + 1]) < 0xA0) // U+0080 to U+009F
            line.replace(index, 2, "?");
    }
    return line;
}
}
