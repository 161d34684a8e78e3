#include "machine/Anonymiser.h"

#include "st-core/lib/SmbiosStructure.h"
#include "st-core/lib/Text.h"
#include "st-core/lib/Utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>

namespace HardwareInventory
{
namespace
{
using ZelStdCore::SmbiosType;

constexpr std::size_t kHeaderSize = 4;   // of a structure: type, length, handle
constexpr std::size_t kUuid = 0x08;      // of the system's structure
constexpr std::size_t kShortestText = 4; // among bytes

constexpr std::uint8_t kConfigurationOptions = 12;
constexpr std::uint8_t kHostInterface = 42; // may contain addresses and names of a management controller
constexpr std::uint8_t kFirstOemType = 128;

// Where structures have the number of a serial number or an asset tag.
struct StringField
{
    std::uint8_t type;
    std::uint8_t offset;
};
constexpr auto kSerialFields = std::to_array<StringField>({
    {SmbiosType::system, 0x07},
    {SmbiosType::baseBoard, 0x07},
    {SmbiosType::baseBoard, 0x08},
    {SmbiosType::systemChassis, 0x07},
    {SmbiosType::systemChassis, 0x08},
    {SmbiosType::processor, 0x20},
    {SmbiosType::processor, 0x21},
    {SmbiosType::memoryDevice, 0x18},
    {SmbiosType::memoryDevice, 0x19},
    {22, 0x07}, // battery
    {39, 0x08}, // power supply
    {39, 0x09},
});

struct PropertyRule
{
    std::string_view property;
    void (*collect)(Pseudonyms& pseudonyms, std::wstring_view value);
};
constexpr auto kSerial = [](Pseudonyms& to, std::wstring_view value) { to.addSerial(value); };
constexpr auto kName = [](Pseudonyms& to, std::wstring_view value) { to.addName(value); };
constexpr auto kMac = [](Pseudonyms& to, std::wstring_view value) { to.addMac(value); };
constexpr auto kPath = [](Pseudonyms& to, std::wstring_view value) { to.addPath(value); };
constexpr auto kAddress = [](Pseudonyms& to, std::wstring_view value)
{
    if (!to.addAddress(value))
        to.addName(value);
};
constexpr auto kRules = std::to_array<PropertyRule>({
    {"serialnumber", kSerial},
    {"volumeserialnumber", kSerial},
    {"volumename", kName},
    {"primaryownername", kName},
    {"organization", kName},
    {"domain", kName},
    {"workgroup", kName},
    {"macaddress", kMac},
    {"permanentaddress", kMac},
    {"ipaddress", kAddress},
    {"pnpdeviceid", [](Pseudonyms& to, std::wstring_view value) { to.addInstance(value); }},
    {"antecedent", kPath},
    {"dependent", kPath},
    {"manufacturer", [](Pseudonyms& to, std::wstring_view value) { to.spare(std::wstring(value)); }},
});

std::wstring widened(const std::string& bytes) // each byte a character
{
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()),
            reinterpret_cast<const std::uint8_t*>(bytes.data()) + bytes.size()};
}

int valueOf(char digit)
{
    const auto found = std::string_view("0123456789abcdef0123456789ABCDEF").find(digit);
    return found == std::string_view::npos ? -1 : static_cast<int>(found % 16);
}

// The bytes that pairs of hexadecimal digits stand for, with or without a space between them, and a zero for what is none.
std::string decoded(std::string_view text)
{
    std::string bytes;
    for (std::size_t at = 0; at < text.size();)
    {
        const bool isPair = at + 1 < text.size() && valueOf(text[at]) >= 0 && valueOf(text[at + 1]) >= 0;
        bytes += static_cast<char>(isPair ? valueOf(text[at]) << 4 | valueOf(text[at + 1]) : 0);
        at += !isPair ? 1 : at + 2 < text.size() && text[at + 2] == ' ' ? 3 : 2;
    }
    return bytes;
}

std::string encoded(std::string_view bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char each : bytes)
    {
        const auto byte = static_cast<std::uint8_t>(each);
        text += {digits[byte >> 4], digits[byte & 15], ' '};
    }
    return text.substr(0, text.empty() ? 0 : text.size() - 1);
}

bool isBytes(const std::string& text)
{
    return encoded(decoded(text)) == text;
}

bool isTextOfUnits(const Json& node)
{
    return node.contains("utf16");
}

bool isTextOfBytes(const Json& node)
{
    return node.contains("hex");
}

bool isText(const Json& node)
{
    return node.is_string() || isTextOfUnits(node) || isTextOfBytes(node);
}

std::wstring textOf(const Json& node)
{
    if (node.is_string())
        return ZelStdCore::widen(node.get_ref<const std::string&>());
    if (isTextOfBytes(node))
        return widened(decoded(node["hex"].get<std::string>()));
    const auto units = node.at("utf16").get<std::vector<std::uint16_t>>();
    return {units.begin(), units.end()};
}

// In the form of the text that it replaces. Substitutes are ASCII, and what else the text has remains.
Json written(const std::wstring& text, const Json& like)
{
    if (like.is_string())
        return ZelStdCore::toUtf8(text);
    if (isTextOfBytes(like))
        return {{"hex", encoded(std::string(text.begin(), text.end()))}};
    return {{"utf16", std::vector<std::uint16_t>(text.begin(), text.end())}};
}

// A copy in which every text that is no key is what replace() makes of it.
Json mapped(const Json& node, const std::function<Json(const Json&)>& replace)
{
    if (isText(node))
        return replace(node);
    Json copy = node;
    if (node.is_structured())
        for (Json& member : copy)
            member = mapped(member, replace);
    return copy;
}

std::string lower(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter; });
    return text;
}
}

void Anonymiser::collectText(const std::string& question, const std::string& property, const std::wstring& text)
{
    pseudonyms_.addRecognised(text);
    const auto* const rule = std::ranges::find(kRules, lower(property), &PropertyRule::property);
    if (rule != kRules.end())
        rule->collect(pseudonyms_, text);
    if (property == "Name" && question.ends_with(" Win32_ComputerSystem"))
        pseudonyms_.addName(text);
    if (question.starts_with("call nvmlDeviceGetSerial "))
        pseudonyms_.addSerial(text);
    if (question == "domain controller" && !pseudonyms_.addAddress(ZelStdCore::trim(text, L"\\")))
    {
        const std::wstring_view name = ZelStdCore::trim(text, L"\\");
        const std::size_t host = std::min(name.find(L'.'), name.size());
        pseudonyms_.addName(name.substr(0, host));
        pseudonyms_.addName(name.substr(std::min(host + 1, name.size())));
    }
}

void Anonymiser::collect(const std::string& question, const Json& answer)
{
    const std::function<void(const std::string&, const Json&)> walk = [&](const std::string& property, const Json& node)
    {
        if (isText(node))
            collectText(question, property, textOf(node));
        else if (node.is_array())
            for (const Json& element : node)
                walk(property, element);
        else if (node.is_object())
            for (const auto& [key, member] : node.items())
            {
                if (key == "structures")
                    std::ranges::for_each(member, [this](const Json& structure) { collectStructure(structure); });
                walk(key == "value" ? property : key, member);
            }
    };
    walk({}, answer);
}

void Anonymiser::collectStructure(const Json& structure)
{
    const std::string bytes = decoded(structure.at(0).get<std::string>());
    const auto byteAt = [&bytes](std::size_t offset) { return static_cast<std::uint8_t>(bytes[offset]); };
    for (const auto& [type, offset] : kSerialFields)
        if (byteAt(0) == type && offset < bytes.size() && byteAt(offset) > 0 && byteAt(offset) < structure.size())
            pseudonyms_.addSerial(textOf(structure[byteAt(offset)]));
    if (byteAt(0) == SmbiosType::system && bytes.size() >= kUuid + 16)
        pseudonyms_.addGuid(ZelStdCore::widen(encoded(bytes.substr(kUuid, 16))));
}

Json Anonymiser::structureWithoutFreeText(const Json& structure) const
{
    Json copy = structure;
    std::string bytes = decoded(structure[0].get<std::string>());
    const auto type = static_cast<std::uint8_t>(bytes[0]);
    if (type >= kFirstOemType || type == kHostInterface)
    {
        std::ranges::fill(std::span(bytes).subspan(std::min(kHeaderSize, bytes.size())), '\0');
        copy[0] = encoded(bytes);
    }
    if (type >= kFirstOemType || type == kHostInterface || type == SmbiosType::oemStrings || type == kConfigurationOptions)
        for (std::size_t index = 1; index < copy.size(); ++index)
            if (const std::wstring text = textOf(copy[index]); !pseudonyms_.occursIn(text))
                copy[index] = written(pseudonyms_.instead(text), copy[index]);
    return copy;
}

Json Anonymiser::bytesWithoutText(const Json& bytes) const
{
    std::string data = decoded(bytes.get<std::string>());
    const auto isPrintable = [](char byte) { return byte >= ' ' && byte <= '~'; };
    for (auto begin = data.begin(); begin != data.end();)
    {
        begin = std::find_if(begin, data.end(), isPrintable);
        const auto end = std::find_if_not(begin, data.end(), isPrintable);
        if (end - begin >= static_cast<std::ptrdiff_t>(kShortestText))
            std::ranges::copy(pseudonyms_.instead(std::wstring(begin, end)), begin);
        begin = end;
    }
    return encoded(data);
}

// Of a firmware table: without the texts that mean what the manufacturer wants.
Json Anonymiser::withoutFreeText(const Json& node) const
{
    if (node.is_string() && decoded(node.get<std::string>()).size() > ZelStdCore::kRawSmbiosHeaderSize)
        throw std::runtime_error("a firmware table without structures cannot be anonymised");
    Json copy = node;
    if (node.contains("structures"))
    {
        for (Json& structure : copy["structures"])
            structure = structureWithoutFreeText(structure);
        copy["rest"] = bytesWithoutText(node["rest"]);
    }
    else if (node.contains("inTurn"))
        for (Json& answer : copy["inTurn"])
            answer = withoutFreeText(answer);
    return copy;
}

Json Anonymiser::anonymise(const Json& recording)
{
    if (recording.value("anonymised", false))
        return recording;

    for (const auto& [question, answer] : recording.at("answers").items())
    {
        collect(question, answer);
        const std::wstring text = ZelStdCore::widen(question);
        pseudonyms_.addRecognised(text);
        if (question.starts_with("device "))
        {
            pseudonyms_.addInstance(std::wstring_view(text).substr(7));
            continue;
        }
        // Outside quotation marks a question consists of the product's own words.
        const auto pieces = ZelStdCore::split(text, L"'");
        for (std::size_t index = 0; index < pieces.size(); index += 2)
            pseudonyms_.spare(std::wstring(pieces[index]));
    }
    pseudonyms_.choose();

    Json result = recording;
    result["anonymised"] = true;
    result["answers"] = Json::object();
    for (const auto& [question, answer] : recording["answers"].items())
        if (!result["answers"]
                 .emplace(inText(question), inDocument(question.starts_with("firmware table ") ? withoutFreeText(answer) : answer))
                 .second)
            throw std::runtime_error("two questions cannot be told apart without what was anonymised in them");
    requireNothingLeft(result);
    return result;
}

Json Anonymiser::inDocument(const Json& document) const
{
    return mapped(document,
                  [this](const Json& node) -> Json
                  {
                      Json replaced = written(pseudonyms_.replacedIn(textOf(node)), node);
                      if (!replaced.is_string() || !isBytes(replaced.get<std::string>()))
                          return replaced;
                      const std::wstring bytes = widened(decoded(replaced.get<std::string>()));
                      const std::wstring text = pseudonyms_.replacedIn(bytes);
                      return text.size() == bytes.size() ? Json(encoded(std::string(text.begin(), text.end()))) : replaced;
                  });
}

std::string Anonymiser::inText(std::string_view text) const
{
    return ZelStdCore::toUtf8(pseudonyms_.replacedIn(ZelStdCore::widen(text)));
}

void Anonymiser::requireNothingLeft(const Json& recording) const
{
    const auto isLeft = [this](std::wstring text)
    {
        if (pseudonyms_.occursIn(text))
            return true;
        std::erase(text, L'\0'); // UTF-16 among bytes
        return pseudonyms_.occursIn(text);
    };
    const auto isLeftAnyhow = [&](const std::wstring& text)
    {
        const std::string digits = ZelStdCore::toUtf8(text);
        return isLeft(text) || isLeft(widened(decoded(digits))) ||
               isLeft(widened(decoded(std::string_view(digits).substr(digits.empty() ? 0 : 1))));
    };
    for (const auto& [question, answer] : recording["answers"].items())
    {
        if (isLeftAnyhow(ZelStdCore::widen(question)))
            throw std::runtime_error("a question contains what should have been anonymised");
        const std::string& place = question; // a lambda captures no structured binding
        mapped(answer,
               [&](const Json& node)
               {
                   if (isLeftAnyhow(textOf(node)))
                       throw std::runtime_error("the answer to \"" + place + "\" contains what should have been anonymised");
                   return node;
               });
    }
}
}
