#include "machine/Pseudonyms.h"

#include "machine/IpAddress.h"
#include "machine/TextForms.h"
#include "st-core/lib/Hash.h"
#include "st-core/lib/Text.h"
#include "st-core/lib/Utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <optional>

namespace HardwareInventory
{
namespace
{
constexpr std::size_t kFewestOfSerial = 6; // shorter ones occur in other texts by chance
constexpr std::size_t kFewestOfWord = 10;
constexpr int kMostAttempts = 10'000;

constexpr std::size_t kMacDigits = 12;
constexpr std::size_t kMacVendorDigits = 6;
constexpr std::size_t kGuidDigits = 32;

// Layouts of hexadecimal digits.
constexpr auto kMacLayouts =
    std::to_array<std::wstring_view>({L"############", L"##:##:##:##:##:##", L"##-##-##-##-##-##", L"## ## ## ## ## ##"});
constexpr std::wstring_view kGuidLayout = L"########-####-####-####-############";
constexpr auto kGuidLayouts = std::to_array<std::wstring_view>({kGuidLayout, L"################################",
                                                                L"## ## ## ## ## ## ## ## ## ## ## ## ## ## ## ##"});

// Serial numbers by their form: '#' a hexadecimal digit, '9' a digit, '*' a digit or a letter.
constexpr auto kProductForms =
    std::to_array<std::wstring_view>({L"*****-*****-*****-*****-*****", L"99999-99999-99999-*****", L"99999-999-9999999-99999"});

std::wstring trimmed(std::wstring_view value)
{
    return folded(ZelStdCore::trim(value, std::wstring_view(L" \t\r\n\0", 5)));
}
}

void Pseudonyms::add(Kind kind, std::wstring_view value, std::size_t kept)
{
    Value& details = values_.try_emplace(std::wstring(value), Value{kind, kept}).first->second;
    if (kind == Kind::name && details.kind == Kind::serial)
        details.kind = kind; // is found in more places
}

void Pseudonyms::addSerial(std::wstring_view value)
{
    std::wstring serial = trimmed(value);
    if (serial.starts_with(L"0x")) // decides whether a document has the value
        serial.erase(0, 2);
    if (!meansNone(serial))
        add(Kind::serial, serial, 0);
}

void Pseudonyms::addName(std::wstring_view value)
{
    const std::wstring name = trimmed(value);
    if (!meansNone(name))
        add(Kind::name, name, 0);
}

void Pseudonyms::addMac(std::wstring_view value)
{
    const std::wstring digits = lettersOf(value);
    if (digits.size() != kMacDigits)
        return addSerial(value);
    if (!meansNone(digits))
        add(Kind::mac, digits, kMacVendorDigits);
}

void Pseudonyms::addGuid(std::wstring_view value)
{
    const std::wstring digits = lettersOf(value);
    if (digits.size() == kGuidDigits && !meansNone(digits) && !meansNone(inOtherOrder(digits)))
        add(Kind::guid, std::min(digits, inOtherOrder(digits)), 0);
}

void Pseudonyms::addPath(std::wstring_view path)
{
    if (path.starts_with(L"\\\\"))
        addName(path.substr(2, path.find(L'\\', 2) - 2));
}

void Pseudonyms::addInstance(std::wstring_view id)
{
    const auto parts = ZelStdCore::split(id, L"\\");
    const std::wstring bus = folded(parts.front());
    if (parts.size() > 1)
        spare(std::wstring(parts[1])); // names the model
    if (parts.size() < 3 || bus == L"root" || bus == L"swd")
        return; // named by Windows
    // What Windows has numbered begins with a short number.
    const std::wstring_view serial = ZelStdCore::split(parts.back(), L"&").front();
    if (lettersOf(serial).size() >= kFewestOfSerial && std::ranges::any_of(serial, isDigit))
        addSerial(serial);
}

bool Pseudonyms::addAddress(std::wstring_view value)
{
    const std::wstring text = folded(value.substr(0, value.find(L'%'))); // a zone is a number of this machine's
    const std::wstring canonical = canonicalAddress(text);
    if (!canonical.empty() && !staysAsItIs(canonical))
        add(Kind::address, text, 0);
    return !canonical.empty();
}

void Pseudonyms::addRecognised(std::wstring_view text)
{
    const std::wstring all = folded(text);
    const auto form = [&](std::size_t at, std::wstring_view layout)
    { return hasForm(all, at, layout) ? std::wstring_view(all).substr(at, layout.size()) : std::wstring_view(); };
    for (std::size_t at = 0; at < all.size(); ++at)
    {
        if (!isLetterOrDigit(all[at]) || (at > 0 && isLetterOrDigit(all[at - 1])))
            continue;
        for (const std::wstring_view layout : {kMacLayouts[1], kMacLayouts[2]})
            addMac(form(at, layout));
        addGuid(form(at, kGuidLayout));
        for (const std::wstring_view layout : kProductForms)
            addSerial(form(at, layout));

        constexpr std::wstring_view kSid = L"s-1-5-21-"; // of a machine or domain: three numbers follow
        if (all.compare(at, kSid.size(), kSid) == 0)
        {
            std::size_t end = at + kSid.size() - 1;
            for (int numbers = 0; numbers < 3 && end < all.size() && all[end] == L'-'; ++numbers)
                end = std::min(all.find_first_not_of(L"0123456789", end + 1), all.size());
            add(Kind::serial, std::wstring_view(all).substr(at, end - at), kSid.size());
        }
    }
    for (const std::wstring_view folder : {L"\\users\\", L"\\documents and settings\\"})
        for (std::size_t at = all.find(folder); at != std::wstring::npos; at = all.find(folder, at + 1))
        {
            const std::size_t begin = at + folder.size();
            const std::wstring name = all.substr(begin, all.find_first_of(L"\\/:*?\"'<>|", begin) - begin);
            if (!meansNone(name))
                add(Kind::name, name, 0);
            else if (!lettersOf(name).empty() && lettersOf(name).size() < kFewestLetters)
                add(Kind::name, all.substr(at, begin + name.size() - at), folder.size());
        }
}

std::wstring Pseudonyms::drawn(Kind kind, const std::wstring& value, std::size_t kept, int attempt) const
{
    const std::string label = kind == Kind::address ? "address "
                              : kind == Kind::mac   ? "mac "
                              : kind == Kind::guid  ? "guid "
                                                    : "text ";
    const std::string seed = label + std::to_string(attempt) + " ";
    if (kind == Kind::address)
        return documentationAddress(canonicalAddress(value),
                                    ZelStdCore::hmacSha256(key_, seed + ZelStdCore::toUtf8(canonicalAddress(value))));

    const bool hexadecimal = std::ranges::all_of(lettersOf(value.substr(kept)), isHexadecimal);
    std::wstring substitute = value;
    std::string random;
    for (std::size_t index = kept; index < value.size(); ++index)
    {
        const std::size_t place = (index - kept) % ZelStdCore::kHashSize;
        if (place == 0)
            random = ZelStdCore::hmacSha256(key_, seed + std::to_string(index) + " " + ZelStdCore::toUtf8(value));
        const auto number = static_cast<std::uint8_t>(random[place]);
        if (isDigit(value[index]))
            substitute[index] = static_cast<wchar_t>(L'0' + number % 10);
        else if (isLetter(value[index]))
            substitute[index] = static_cast<wchar_t>(L'a' + number % (hexadecimal ? 6 : 26));
    }
    return substitute;
}

Pseudonyms::Extent Pseudonyms::extentOf(Kind kind, std::wstring_view value)
{
    const std::wstring letters = lettersOf(value);
    const bool mixed = std::ranges::any_of(letters, isDigit) && std::ranges::any_of(letters, isLetter);
    if (kind == Kind::serial && letters.size() < kFewestOfSerial)
        return Extent::wholeText;
    if (kind == Kind::address || letters.size() < kFewestOfSerial || (!mixed && letters.size() < kFewestOfWord) ||
        std::ranges::all_of(letters, isDigit))
        return Extent::wholeRun;
    return Extent::anywhere;
}

void Pseudonyms::addOriginals(const std::wstring& value, Kind kind, const std::wstring& substitute)
{
    const auto addOriginal = [&](const std::wstring& text, const std::wstring& instead) {
        originals_.push_back({text, instead, extentOf(kind, text)});
    };
    switch (kind)
    {
    case Kind::mac:
        for (const std::wstring_view layout : kMacLayouts)
            addOriginal(laidOut(layout, value), laidOut(layout, substitute));
        break;
    case Kind::guid:
        for (const std::wstring_view layout : kGuidLayouts)
        {
            addOriginal(laidOut(layout, value), laidOut(layout, substitute));
            addOriginal(laidOut(layout, inOtherOrder(value)), laidOut(layout, inOtherOrder(substitute)));
        }
        break;
    default:
        addOriginal(value, substitute);
    }
}

void Pseudonyms::choose()
{
    std::map<std::wstring, std::wstring> taken; // by which value
    for (const auto& [value, details] : values_)
    {
        const Original original{value, {}, extentOf(details.kind, value)};
        const auto contains = [&](const std::wstring& text) { return find(original, folded(text), 0) != std::wstring::npos; };
        if (details.kind <= Kind::name && std::ranges::any_of(spared_, contains))
            continue;

        const std::wstring owner = details.kind == Kind::address ? canonicalAddress(value) : value;
        const auto isFree = [&](const std::wstring& substitute)
        {
            return !meansNone(substitute) && !substitute.starts_with(L"0x") && !values_.contains(substitute) &&
                   taken.try_emplace(substitute, owner).first->second == owner;
        };
        std::wstring substitute;
        int attempt = 0; // the addresses for documentation may run out
        do
            substitute = drawn(details.kind, value, details.kept, attempt++);
        while (!isFree(substitute) && attempt < kMostAttempts);
        addOriginals(value, details.kind, substitute);
    }
    std::ranges::stable_sort(originals_, std::ranges::greater(), [](const Original& each) { return each.text.size(); });
}

std::size_t Pseudonyms::find(const Original& original, std::wstring_view folded, std::size_t from)
{
    const std::wstring& text = original.text;
    if (original.extent == Extent::wholeText)
        return from == 0 && trimmed(folded) == text ? folded.find(text) : std::wstring::npos;
    const auto sameRun = [](wchar_t left, wchar_t right)
    { return (isDigit(left) && isDigit(right)) || (isLetter(left) && isLetter(right)); };
    for (std::size_t at = folded.find(text, from); at != std::wstring::npos; at = folded.find(text, at + 1))
    {
        const std::size_t end = at + text.size();
        const bool continues =
            (at > 0 && sameRun(folded[at - 1], text.front())) || (end < folded.size() && sameRun(text.back(), folded[end]));
        if (original.extent == Extent::anywhere || !continues)
            return at;
    }
    return std::wstring::npos;
}

std::wstring Pseudonyms::replacedIn(const std::wstring& text) const
{
    std::wstring left = folded(text);
    std::map<std::size_t, const Original*> found;
    for (const Original& original : originals_)
        for (std::size_t at = find(original, left, 0); at != std::wstring::npos; at = find(original, left, at))
        {
            found.emplace(at, &original);
            std::fill_n(left.begin() + static_cast<std::ptrdiff_t>(at), original.text.size(), L'\1');
        }

    std::wstring result;
    std::size_t next = 0;
    for (const auto& [at, original] : found)
    {
        result.append(text, next, at - next);
        result += capitalised(original->substitute, std::wstring_view(text).substr(at, original->text.size()));
        next = at + original->text.size();
    }
    return result.append(text, next);
}

bool Pseudonyms::occursIn(const std::wstring& text) const
{
    const std::wstring all = folded(text);
    return std::ranges::any_of(originals_, [&](const Original& each) { return find(each, all, 0) != std::wstring::npos; });
}

std::wstring Pseudonyms::instead(const std::wstring& text) const
{
    if (meansNone(text))
        return text;
    const std::wstring value = folded(text);
    std::wstring substitute;
    int attempt = 0;
    do
        substitute = drawn(Kind::serial, value, 0, attempt++);
    while (attempt < kMostAttempts && (meansNone(substitute) || occursIn(substitute)));
    return capitalised(substitute, text);
}
}
