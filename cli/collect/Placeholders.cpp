#include "cli/collect/Placeholders.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace HardwareInventory
{
namespace
{
using nlohmann::json;

struct Placeholder
{
    std::string_view text; // in lower case
    std::string_view source;
};

constexpr auto kPlaceholders = std::to_array<Placeholder>({
    {"to be filled by o.e.m.", "AMI's firmware template, on boards sold without a system"},
    {"to be filled by o.e.m. by more string", "the same, for longer fields"},
    {"default string", "AMI's later template"},
    {"o.e.m.", "the same, in short"},
    {"oem", "the same, in short"},
    {"system manufacturer", "ASUS boards: the name of the field"},
    {"system product name", "ASUS boards: the name of the field"},
    {"system name", "older ASUS boards"},
    {"system version", "ASUS boards: the name of the field"},
    {"system serial number", "ASUS boards: the name of the field"},
    {"base board serial number", "boards of several vendors: the name of the field"},
    {"chassis serial number", "ASUS boards: the name of the field"},
    {"type2 - board vendor name1", "Insyde's firmware template"},
    {"type2 - board product name1", "Insyde's firmware template"},
    {"type2 - board serial number", "Insyde's firmware template"},
    {"0123456789", "firmware templates of several vendors"},
    {"123456789", "Compal's firmware template"},
    {"1234567890", "firmware templates of several vendors"},
    {"serialnumber", "memory modules without contents for the field"},
    {"none", "VMware's base board, and firmware of several vendors"},
    {"n/a", "firmware of several vendors"},
    {"not applicable", "firmware of several vendors"},
    {"not available", "firmware of notebooks"},
    {"not provided", "firmware of several vendors"},
    {"not specified", "firmware that copies what programs print for an absent string"},
    {"undefined", "memory modules of which the firmware read nothing"},
    {"unknown", "memory modules of which the firmware read nothing"},
    {"invalid", "Lenovo's firmware"},
    {"[empty]", "memory slots of AMI's firmware"},
    {"no dimm", "memory slots of server boards"},
});

// AMI's template numbers these words for each slot: "SerNum0", "A1_Manufacturer1".
constexpr auto kNumbered = std::to_array<std::string_view>({"manufacturer", "partnum", "sernum"});

// Keys of numbers that are nothing but zeros where they are unknown. Elsewhere, as in a PCI address, zeros are a value.
constexpr auto kNumberKeys = std::to_array<std::string_view>({"macAddress", "processorID", "productID", "serialNumber"});

std::string lower(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](char letter)
                           { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; });
    return text;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kSpace = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(kSpace);
    return begin == std::string_view::npos ? std::string_view() : text.substr(begin, text.find_last_not_of(kSpace) + 1 - begin);
}

bool isNumberedWord(std::string_view text)
{
    const std::size_t end = text.find_last_not_of("0123456789") + 1;
    const std::string_view word = text.substr(0, end);
    const std::size_t slot = word.find('_') == std::string_view::npos ? 0 : word.find('_') + 1;
    return end < text.size() && std::ranges::find(kNumbered, word.substr(slot)) != kNumbered.end();
}

bool isAllZeros(std::string_view text)
{
    return text.find('0') != std::string_view::npos && text.find_first_not_of("0 :.-_") == std::string_view::npos;
}

bool isPlaceholder(const std::string& key, const json& value)
{
    if (!value.is_string())
        return false;
    const std::string whole = lower(value.get<std::string>());
    const std::string_view text = trimmed(whole);
    return std::ranges::find(kPlaceholders, text, &Placeholder::text) != kPlaceholders.end() || isNumberedWord(text) ||
           (isAllZeros(text) && std::ranges::find(kNumberKeys, key) != kNumberKeys.end());
}
}

void dropPlaceholders(json& document)
{
    if (document.is_array())
        std::ranges::for_each(document, dropPlaceholders);
    if (!document.is_object())
        return;
    const std::size_t before = document.size();
    for (auto member = document.begin(); member != document.end();)
    {
        dropPlaceholders(*member);
        member = isPlaceholder(member.key(), *member) ? document.erase(member) : std::next(member);
    }
    if (document.empty() && before != 0)
        document = nullptr;
}
}
