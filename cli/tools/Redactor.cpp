#include "cli/tools/Redactor.h"

#include "cli/documents/Placeholders.h"
#include "cli/documents/Schemas.h"
#include "cli/documents/Text.h"
#include "machine/IpAddress.h"
#include "st-core/lib/Hash.h"
#include "st-core/lib/Utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace HardwareInventory
{
namespace
{
using nlohmann::json;

constexpr std::string_view kPrefix = "redacted-";
constexpr std::size_t kDigits = 16;
constexpr std::size_t kFewestLetters = 4; // shorter values occur in other texts by chance

// Where users, not vendors, choose the words: what identifies is searched for in these texts, too.
struct Place
{
    std::string_view kind;
    std::string_view key;
};
constexpr auto kSearched = std::to_array<Place>({
    {"network-adapters", "name"},
    {"system", "bootDevice"},
    {"system", "windowsDirectory"},
    {"system", "systemDirectory"},
});

bool isSearched(std::string_view kind, std::string_view key)
{
    return std::ranges::any_of(kSearched, [&](const Place& place) { return place.kind == kind && place.key == key; });
}

// Beyond ASCII everything counts as a letter.
bool isWordLetter(char letter)
{
    return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') || static_cast<unsigned char>(letter) >= 0x80;
}

// The text with a substitute for each value that stands in it as a word.
template <class Substitutes>
std::string replacedIn(const std::string& text, const Substitutes& substitutes)
{
    const std::string all = inCapitals(text);
    const auto isWord = [&](std::size_t at, std::size_t size)
    {
        return (at == 0 || !isWordLetter(all[at - 1]) || !isWordLetter(all[at])) &&
               (at + size == all.size() || !isWordLetter(all[at + size]) || !isWordLetter(all[at + size - 1]));
    };
    std::string result;
    for (std::size_t at = 0; at < text.size();)
    {
        typename Substitutes::const_pointer longest = nullptr;
        for (const auto& each : substitutes)
            if (const std::size_t size = each.first.size(); size >= kFewestLetters && all.compare(at, size, each.first) == 0 &&
                                                            isWord(at, size) && (!longest || longest->first.size() < size))
                longest = &each;
        result += longest ? longest->second : text.substr(at, 1);
        at += longest ? longest->first.size() : 1;
    }
    return result;
}
}

std::size_t Redactor::redact(std::vector<Envelope>& envelopes) const
{
    std::size_t gone = 0;
    std::map<std::string, Substitutes> found; // by machine: a value means nothing in another one's texts
    for (Envelope& envelope : envelopes)
    {
        Substitutes& substitutes = found[envelope.machine];
        if (!envelope.machine.empty())
            substitutes[inCapitals(trimmed(envelope.machine))] = text(envelope.machine);
        if (envelope.document.is_null())
            continue;
        const DocumentKind& kind = *kindNamed(envelope.kind);
        gone += prune(envelope.document, kind);
        visitMembers(envelope.document, kind,
                     [&](json& value, const json& schema, const std::string& key)
                     {
                         if (schema.value("x-identifying", false))
                             value = substitute(value, key, substitutes);
                     });
    }
    for (Envelope& envelope : envelopes)
    {
        const Substitutes& substitutes = found[envelope.machine];
        if (!envelope.document.is_null())
            visitMembers(envelope.document, *kindNamed(envelope.kind),
                         [&](json& value, const json&, const std::string& key)
                         {
                             if (value.is_string() && isSearched(envelope.kind, key))
                                 value = replacedIn(value.get_ref<const std::string&>(), substitutes);
                         });
    }
    for (Envelope& envelope : envelopes)
    {
        envelope.machine = envelope.machine.empty() ? "" : text(envelope.machine);
        if (envelope.error && !envelope.error->text.empty())
            envelope.error->text = "redacted"; // it may name anything
    }
    return gone;
}

json Redactor::substitute(const json& value, std::string_view key, Substitutes& found) const
{
    if (value.is_array())
    {
        json list = json::array();
        for (const json& item : value)
            list.push_back(substitute(item, key, found));
        return list;
    }
    const std::string original = value.is_string() ? value.get<std::string>() : value.dump();
    std::string instead = substituteFor(original, key);
    if (instead != original)
        found[inCapitals(trimmed(original))] = instead;
    return instead;
}

// What stands for nothing stays.
std::string Redactor::substituteFor(const std::string& value, std::string_view key) const
{
    constexpr std::string_view kServer = "\\\\";
    if (isPlaceholder(key, value) || (key == "logonServer" && value == "-"))
        return value;
    if (key == "logonServer" && value.starts_with(kServer))
        return std::string(kServer) + text(std::string_view(value).substr(kServer.size()));
    if (key == "macAddress")
        return macAddress(value);
    return key == "ipAddresses" ? ipAddress(value) : text(value);
}

std::string Redactor::text(std::string_view value) const
{
    const std::string digest = hexadecimal(ZelStdCore::hmacSha256(key_, "text " + inCapitals(trimmed(value))));
    return std::string(kPrefix) + digest.substr(0, kDigits);
}

// Of the same length, and locally administered: no vendor's.
std::string Redactor::macAddress(std::string_view value) const
{
    const std::string random = ZelStdCore::hmacSha256(key_, "mac " + inCapitals(value));
    const std::size_t size = std::clamp<std::size_t>((value.size() + 1) / 3, 2, ZelStdCore::kHashSize);
    std::string address = "02";
    for (const char byte : random.substr(0, size - 1))
        address += ":" + inCapitals(hexadecimal({&byte, 1}));
    return address;
}

// Of the ranges for documentation. There are fewer of them than addresses of version 4: two may get the same one.
std::string Redactor::ipAddress(std::string_view value) const
{
    std::wstring wide = ZelStdCore::widen(trimmed(value.substr(0, value.find('%'))));
    std::ranges::transform(wide, wide.begin(),
                           [](wchar_t letter)
                           { return letter >= L'A' && letter <= L'Z' ? static_cast<wchar_t>(letter - L'A' + L'a') : letter; });
    const std::wstring canonical = canonicalAddress(wide);
    if (canonical.empty())
        return text(value);
    return ZelStdCore::toUtf8(documentationAddress(canonical,
                                                   ZelStdCore::hmacSha256(key_, "address " + ZelStdCore::toUtf8(canonical))));
}
}
