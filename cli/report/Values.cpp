#include "cli/report/Values.h"

#include "cli/report/DisplayWidth.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace HardwareInventory
{
namespace
{
using nlohmann::json;

constexpr std::string_view kWhiteSpace = " \t\r\n";

bool isPlain(char32_t letter)
{
    const bool control = letter < 0x20 || (letter >= 0x7F && letter < 0xA0) || letter == 0x2028 || letter == 0x2029;
    const bool direction = letter == 0x61C || letter == 0x200E || letter == 0x200F || (letter >= 0x202A && letter <= 0x202E) ||
                           (letter >= 0x2066 && letter <= 0x2069);
    return !control && !direction;
}

std::string number(double value, int decimals)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string_view unitOf(const json& schema)
{
    const json& unit = memberOf(schema, "x-unit");
    return unit.is_string() ? std::string_view(unit.get_ref<const std::string&>()) : std::string_view();
}

std::string shownNumber(const json& value, std::string_view unit)
{
    if (unit == "bytes" && value.is_number_unsigned())
        return shownSize(value.get<std::uint64_t>());
    if (unit == "degrees Celsius")
    {
        const auto degrees = value.get<double>();
        return number(degrees, degrees == std::floor(degrees) ? 0 : 1) + " \u00B0C";
    }
    return value.dump() + (unit.empty() ? "" : " ") + std::string(unit);
}

std::string shownList(const json& values, const json& schema)
{
    std::string shown;
    for (const json& value : values)
        shown += (shown.empty() ? "" : ", ") + shownValue(value, schema);
    return shown;
}
}

std::string printable(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(kWhiteSpace);
    if (begin == std::string_view::npos)
        return {};
    text = text.substr(begin, text.find_last_not_of(kWhiteSpace) + 1 - begin);
    std::string shown;
    while (!text.empty())
    {
        const Letter letter = firstLetter(text);
        if (isPlain(letter.code))
            shown += text.substr(0, letter.size);
        else
        {
            char escape[16];
            std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(letter.code));
            shown += escape;
        }
        text.remove_prefix(letter.size);
    }
    return shown;
}

std::string shownSize(std::uint64_t bytes)
{
    constexpr auto kUnits = std::to_array<const char*>({" bytes", " KiB", " MiB", " GiB", " TiB", " PiB", " EiB"});
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; value >= 1023.5 && unit + 1 < kUnits.size(); ++unit) // 1023.5 and more would be shown with four digits
        value /= 1024;
    const int decimals = value == std::floor(value) || value >= 99.95 ? 0 : value >= 9.995 ? 1 : 2;
    return number(value, decimals) + kUnits[unit];
}

std::string shownValue(const json& value, const json& schema)
{
    if (value.is_null())
        return "unknown";
    if (value.is_string())
        return printable(value.get_ref<const std::string&>());
    if (value.is_number())
        return shownNumber(value, unitOf(schema));
    if (value.is_array())
        return shownList(value, memberOf(schema, "items"));
    return printable(value.dump());
}

std::string exactValue(const json& value, const json& schema)
{
    return value.is_number_unsigned() && unitOf(schema) == "bytes" ? value.dump() + " bytes" : "";
}

const json& memberOf(const json& object, std::string_view key)
{
    static const json null;
    const auto found = object.find(key);
    return found == object.end() ? null : *found;
}

std::string textOf(const json& object, std::string_view key)
{
    const json& member = memberOf(object, key);
    return member.is_string() ? printable(member.get_ref<const std::string&>()) : "";
}

std::uint64_t sizeOf(const json& object, std::string_view key)
{
    const json& member = memberOf(object, key);
    return member.is_number_unsigned() ? member.get<std::uint64_t>() : 0;
}

std::string labelOf(const json& schema, std::string_view key)
{
    const std::string title = textOf(schema, "title");
    return title.empty() ? printable(key) : title;
}
}
