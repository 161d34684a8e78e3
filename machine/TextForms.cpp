#include "machine/TextForms.h"

#include <algorithm>
#include <array>
#include <functional>

namespace HardwareInventory
{
namespace
{
// What manufacturers write for a serial number or an asset tag that they do not give, and what names no person and no network;
// letters and digits alone.
constexpr std::wstring_view kNoneTexts =
    L" none null unknown empty default defaultstring notavailable notapplicable notspecified notprovided unspecified undefined invalid"
    L" reserved nodimm oemdefine3 oemdefine4 9876543210 87654321 0123456789abcdef 123456789abcdef 03000200040005000006000700080009"
    L" workgroup mshome localhost user windowsuser owner admin administrator guest public defaultuser allusers microsoft windows ";
constexpr auto kNonePhrases = std::to_array<std::wstring_view>({L"serialnumber", L"assettag", L"assetnum", L"assetinformation",
                                                                L"byoem", L"notsupported", L"contenttbd"});
}

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

std::wstring capitalised(std::wstring text, std::wstring_view like)
{
    for (std::size_t index = 0; text.size() == like.size() && index < text.size(); ++index)
        if (lower(like[index]) != like[index] && isLetter(text[index]))
            text[index] = static_cast<wchar_t>(text[index] - 0x20);
    return text;
}
}
