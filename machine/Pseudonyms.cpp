#include "machine/Pseudonyms.h"

#include "machine/IpAddress.h"
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
constexpr std::size_t kFewestLetters = 4;
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

// What manufacturers write for a serial number or an asset tag that they do not give, and what names no person and no network;
// letters and digits alone.
constexpr std::wstring_view kNoneTexts =
    L" none null unknown empty default defaultstring notavailable notapplicable notspecified notprovided unspecified undefined invalid"
    L" reserved nodimm oemdefine3 oemdefine4 9876543210 87654321 0123456789abcdef 123456789abcdef 03000200040005000006000700080009"
    L" workgroup mshome localhost user windowsuser owner admin administrator guest public defaultuser allusers microsoft windows ";
constexpr auto kNonePhrases = std::to_array<std::wstring_view>({L"serialnumber", L"assettag", L"assetnum", L"assetinformation",
                                                                L"byoem", L"notsupported", L"contenttbd"});

// Of the scripts in which Windows' names have two cases, whatever the locale of the process is.
wchar_t lower(wchar_t letter)
{
    const auto in = [letter](wchar_t first, wchar_t last) { return letter >= first && letter <= last; };
    if (in(L'A', L'Z') || (in(0xC0, 0xDE) && letter != 0xD7) || in(0x391, 0x3A9) || in(0x410, 0x42F))
        return static_cast<wchar_t>(letter + 0x20);
    if (in(0x400, 0x40F))
        return static_cast<wchar_t>(letter + 0x50);
    if (in(0x100, 0x137) || in(0x14A, 0x177))
        return static_cast<wchar_t>(letter | 1);
    if (in(0x139, 0x148) || in(0x179, 0x17E))
        return static_cast<wchar_t>(letter + (letter & 1));
    return letter;
}

std::wstring folded(std::wstring_view text)
{
    std::wstring result(text);
    std::ranges::transform(result, result.begin(), lower);
    return result;
}

bool isDigit(wchar_t character)
{
    return character >= L'0' && character <= L'9';
}

// Of a folded text. Beyond ASCII all but signs and punctuation.
bool isLetter(wchar_t character)
{
    return (character >= L'a' && character <= L'z') ||
           (character >= 0xC0 && character != 0xD7 && character != 0xF7 && (character < 0x2000 || character >= 0x2C00));
}

bool isLetterOrDigit(wchar_t character)
{
    return isLetter(character) || isDigit(character);
}

bool isHexadecimal(wchar_t character)
{
    return isDigit(character) || (character >= L'a' && character <= L'f');
}

std::wstring lettersOf(std::wstring_view text)
{
    std::wstring letters = folded(text);
    std::erase_if(letters, std::not_fn(isLetterOrDigit));
    return letters;
}

bool meansNone(std::wstring_view value)
{
    const std::wstring letters = lettersOf(value);
    const auto contains = [&](std::wstring_view phrase) { return letters.find(phrase) != std::wstring::npos; };
    return letters.size() < kFewestLetters || letters.find_first_not_of(letters.front()) == std::wstring::npos ||
           kNoneTexts.find(L" " + letters + L" ") != std::wstring::npos || std::ranges::any_of(kNonePhrases, contains) ||
           std::wstring_view(L"012345678901234567890").find(letters) < 2;
}

std::wstring laidOut(std::wstring_view layout, std::wstring_view digits)
{
    std::wstring text(layout);
    for (std::size_t next = 0; wchar_t & character : text)
        if (character == L'#')
            character = digits[next++];
    return text;
}

// The first three groups of a GUID in the other byte order, in which firmware has them.
std::wstring inOtherOrder(std::wstring digits)
{
    for (const std::size_t byte : {0, 1, 4, 6})
    {
        const std::size_t other = byte < 2 ? 3 - byte : byte + 1;
        auto* const pair = digits.data() + 2 * byte;
        std::swap_ranges(pair, pair + 2, digits.data() + 2 * other);
    }
    return digits;
}

// Whether the text continues with the form at the position, and what precedes and follows is no letter or digit.
bool hasForm(std::wstring_view folded, std::size_t at, std::wstring_view form)
{
    const auto fits = [](wchar_t character, wchar_t expected)
    {
        return expected == L'#'   ? isHexadecimal(character)
               : expected == L'9' ? isDigit(character)
               : expected == L'*' ? isLetterOrDigit(character)
                                  : character == expected;
    };
    const auto isApart = [&](wchar_t character) { return !isLetterOrDigit(character) && character != form[form.size() / 2]; };
    const std::size_t end = at + form.size();
    return end <= folded.size() && std::ranges::equal(folded.substr(at, form.size()), form, fits) &&
           (at == 0 || isApart(folded[at - 1])) && (end == folded.size() || isApart(folded[end]));
}

// The folded text with capitals where the other text, of the same length, has them.
std::wstring capitalised(std::wstring text, std::wstring_view like)
{
    for (std::size_t index = 0; text.size() == like.size() && index < text.size(); ++index)
        if (lower(like[index]) != like[index] && isLetter(text[index]))
            text[index] = static_cast<wchar_t>(text[index] - 0x20);
    return text;
}

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
