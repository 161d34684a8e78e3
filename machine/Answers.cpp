#include "machine/Answers.h"

#include "machine/RecordedWmi.h"
#include "machine/VendorCalls.h"
#include "st-core/lib/SmbiosStructure.h"
#include "st-core/lib/Utf8.h"

#include <algorithm>
#include <charconv>

namespace HardwareInventory::Answers
{
namespace
{
using ZelStdCore::CutString;
using ZelStdCore::SmbiosStructure;

std::string hexadecimal(std::span<const std::uint8_t> bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes)
    {
        if (!text.empty())
            text += ' ';
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

void append(Bytes& bytes, const Json& digits)
{
    const auto* const text = digits.get_ptr<const std::string*>();
    if (!text || text->size() % 3 == 1)
        refuse("bytes in hexadecimal");
    for (std::size_t at = 0; at < text->size(); at += 3)
    {
        std::uint8_t byte = 0;
        const char* const end = text->data() + at + 2;
        if (std::from_chars(text->data() + at, end, byte, 16).ptr != end || (at + 2 < text->size() && *end != ' '))
            refuse("bytes in hexadecimal");
        bytes.push_back(byte);
    }
}

bool isUtf8(std::string_view text)
{
    return ZelStdCore::toUtf8(ZelStdCore::widen(text)) == text;
}

// A structure as its formatted area and its strings; the bytes that it takes.
std::size_t appendStructure(Json& structures, const SmbiosStructure& structure)
{
    Json parts = {hexadecimal(structure.bytes().first(structure.length()))};
    std::size_t size = structure.length() + 1;
    for (const std::string_view string : structure.strings(CutString::keep))
    {
        if (isUtf8(string))
            parts.push_back(string);
        else
            parts.push_back({{"hex", hexadecimal({reinterpret_cast<const std::uint8_t*>(string.data()), string.size()})}});
        size += string.size() + 1;
    }
    structures.push_back(parts);
    return parts.size() == 1 ? size + 1 : size; // no strings: two zeros
}

void appendStrings(Bytes& bytes, const Json& parts)
{
    for (std::size_t index = 1; index < parts.size(); ++index)
    {
        if (const auto* text = parts[index].get_ptr<const std::string*>())
            bytes.insert(bytes.end(), text->begin(), text->end());
        else
            append(bytes, parts[index].at("hex"));
        bytes.push_back(0);
    }
    bytes.insert(bytes.end(), parts.size() == 1 ? 2 : 1, 0);
}

Json structured(const Bytes& table)
{
    if (table.size() < ZelStdCore::kRawSmbiosHeaderSize)
        return hexadecimal(table);
    std::span<const std::uint8_t> rest = table;
    Json json = {{"header", hexadecimal(rest.first(ZelStdCore::kRawSmbiosHeaderSize))}, {"structures", Json::array()}};
    rest = rest.subspan(ZelStdCore::kRawSmbiosHeaderSize);
    for (SmbiosStructure structure(rest); !rest.empty() && structure.isWhole(); structure = SmbiosStructure(rest))
    {
        Json structures = Json::array();
        const std::size_t size = appendStructure(structures, structure);
        if (size > rest.size())
            break; // cut off by the table's end
        json["structures"].push_back(structures.front());
        rest = rest.subspan(size);
    }
    json["rest"] = hexadecimal(rest);
    return json;
}

template <class Type>
void checkAs(const Json& answer)
{
    read<Type>(answer);
}

template <class Value, class Error>
constexpr auto checkResult = &checkAs<Result<Value, Error>>;

void checkTexts(const Json& answer)
{
    read<std::vector<std::wstring>>(answer);
}

void checkRegisters(const Json& answer)
{
    if (!answer.is_array() || answer.size() != 4)
        refuse("four registers");
    std::ranges::for_each(answer, checkAs<std::uint32_t>);
}

struct Question
{
    std::string_view begin;
    void (*check)(const Json& answer);
};

const Question kQuestions[] = {
    {"connect ", checkConnection},
    {"query ", checkObjects},
    {"registry ", checkResult<std::wstring, Platform::Failure<Platform::RegistryStep>>},
    {"domain controller", checkAs<Platform::DomainController>},
    {"locale ", checkResult<std::wstring, LastError>},
    {"physical memory", checkResult<std::uint64_t, LastError>},
    {"trim ", checkResult<bool, Platform::Failure<Platform::TrimStep>>},
    {"device ", checkResult<Platform::DeviceLocation, Platform::Failure<Platform::DeviceSetupStep>>},
    {"firmware tables ", checkAs<std::uint32_t>},
    {"firmware table ", checkResult<Bytes, Platform::FirmwareStep>},
    {"module ", checkAs<bool>},
    {"function ", checkAs<bool>},
    {"call ", checkVendorCall},
    {"vm type", checkAs<std::int32_t>},
    {"vm virtual ", checkAs<bool>},
    {"cpuid ", checkRegisters},
    {"bios versions", checkTexts},
    {"message ", checkAs<std::wstring>},
};
}

void refuse(const char* expected)
{
    throw std::runtime_error(std::string("not ") + expected);
}

void check(const std::string& question, const Json& answer)
try
{
    const auto asks = [&question](const Question& each) { return question.starts_with(each.begin); };
    const auto* const found = std::ranges::find_if(kQuestions, asks);
    if (found == std::end(kQuestions))
        refuse("a question");
    found->check(answer);
}
catch (const std::exception& error)
{
    throw std::runtime_error("not a recording: \"" + question + "\": " + error.what());
}

Json Codec<std::wstring>::write(const std::wstring& text)
{
    std::string utf8 = ZelStdCore::toUtf8(text);
    if (ZelStdCore::widen(utf8) == text)
        return utf8;
    return {{"utf16", std::vector<std::uint32_t>(text.begin(), text.end())}};
}

std::wstring Codec<std::wstring>::read(const Json& json)
{
    if (const auto* const text = json.get_ptr<const std::string*>())
        return ZelStdCore::widen(*text);
    if (!json.is_object() || !json.contains("utf16") || !json["utf16"].is_array())
        refuse("a text");
    std::wstring text;
    for (const Json& unit : json["utf16"])
        text += static_cast<wchar_t>(Answers::read<std::uint16_t>(unit));
    return text;
}

Json Codec<std::vector<std::wstring>>::write(const std::vector<std::wstring>& texts)
{
    Json json = Json::array();
    std::ranges::transform(texts, std::back_inserter(json), Codec<std::wstring>::write);
    return json;
}

std::vector<std::wstring> Codec<std::vector<std::wstring>>::read(const Json& json)
{
    if (!json.is_array())
        refuse("a list of texts");
    std::vector<std::wstring> texts;
    std::ranges::transform(json, std::back_inserter(texts), Codec<std::wstring>::read);
    return texts;
}

Json Codec<Platform::DeviceLocation>::write(const Platform::DeviceLocation& location)
{
    return {{"busNumber", location.busNumber}, {"address", location.address}};
}

Platform::DeviceLocation Codec<Platform::DeviceLocation>::read(const Json& json)
{
    return {Answers::read<std::uint32_t>(json.at("busNumber")), Answers::read<std::uint32_t>(json.at("address"))};
}

Json Codec<Platform::DomainController>::write(const Platform::DomainController& controller)
{
    return {{"status", controller.status}, {"name", Answers::write(controller.name)}, {"freeStatus", controller.freeStatus}};
}

Platform::DomainController Codec<Platform::DomainController>::read(const Json& json)
{
    return {Answers::read<std::uint32_t>(json.at("status")), Answers::read<std::wstring>(json.at("name")),
            Answers::read<std::uint32_t>(json.at("freeStatus"))};
}

Json Codec<Bytes>::write(const Bytes& table)
{
    Json json = structured(table);
    if (read(json) != table)
        json = hexadecimal(table);
    return json;
}

Bytes Codec<Bytes>::read(const Json& json)
{
    Bytes bytes;
    if (json.is_string())
    {
        append(bytes, json);
        return bytes;
    }
    append(bytes, json.at("header"));
    for (const Json& parts : json.at("structures"))
    {
        append(bytes, parts.at(0));
        appendStrings(bytes, parts);
    }
    append(bytes, json.at("rest"));
    return bytes;
}
}
