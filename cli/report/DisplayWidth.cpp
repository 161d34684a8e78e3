#include "cli/report/DisplayWidth.h"

#include <algorithm>
#include <array>

namespace HardwareInventory
{
namespace
{
struct Range
{
    char32_t first, last;
};

// Marks that stand on the letter before them, joiners and variation selectors: the blocks of them, and those of common scripts.
constexpr auto kCombining = std::to_array<Range>({
    {0x300, 0x36F},   {0x483, 0x489},   {0x591, 0x5BD},   {0x5BF, 0x5BF},     {0x5C1, 0x5C2},     {0x5C4, 0x5C5},
    {0x5C7, 0x5C7},   {0x610, 0x61A},   {0x64B, 0x65F},   {0x670, 0x670},     {0x6D6, 0x6DC},     {0x6DF, 0x6E4},
    {0x6E7, 0x6E8},   {0x6EA, 0x6ED},   {0x900, 0x902},   {0x93A, 0x93A},     {0x93C, 0x93C},     {0x941, 0x948},
    {0x94D, 0x94D},   {0xE31, 0xE31},   {0xE34, 0xE3A},   {0xE47, 0xE4E},     {0x1160, 0x11FF},   {0x1AB0, 0x1ACE},
    {0x1DC0, 0x1DFF}, {0x200B, 0x200D}, {0x2060, 0x2064}, {0x20D0, 0x20F0},   {0x302A, 0x302D},   {0x3099, 0x309A},
    {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}, {0x1F3FB, 0x1F3FF}, {0xE0020, 0xE007F}, {0xE0100, 0xE01EF},
});

// What Unicode calls wide or fullwidth (UAX #11), with gaps closed where nothing else stands in them.
constexpr auto kWide = std::to_array<Range>({
    {0x1100, 0x115F},   {0x231A, 0x231B},   {0x2329, 0x232A},   {0x23E9, 0x23EC},   {0x2614, 0x2615},   {0x2648, 0x2653},
    {0x26A1, 0x26A1},   {0x2705, 0x2705},   {0x270A, 0x270B},   {0x274C, 0x274C},   {0x2753, 0x2755},   {0x2757, 0x2757},
    {0x2795, 0x2797},   {0x2B1B, 0x2B1C},   {0x2B50, 0x2B50},   {0x2E80, 0x303E},   {0x3041, 0x4DBF},   {0x4E00, 0xA4CF},
    {0xA960, 0xA97F},   {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE10, 0xFE19},   {0xFE30, 0xFE6F},   {0xFF01, 0xFF60},
    {0xFFE0, 0xFFE6},   {0x16FE0, 0x18DFF}, {0x1AFF0, 0x1B2FF}, {0x1F18E, 0x1F18E}, {0x1F191, 0x1F19A}, {0x1F200, 0x1F320},
    {0x1F32D, 0x1F335}, {0x1F337, 0x1F37C}, {0x1F37E, 0x1F393}, {0x1F3A0, 0x1F3CA}, {0x1F3E0, 0x1F3F0}, {0x1F3F8, 0x1F43E},
    {0x1F440, 0x1F440}, {0x1F442, 0x1F4FC}, {0x1F4FF, 0x1F53D}, {0x1F54B, 0x1F567}, {0x1F5FB, 0x1F64F}, {0x1F680, 0x1F6C5},
    {0x1F6CC, 0x1F6CC}, {0x1F6D0, 0x1F6DF}, {0x1F6EB, 0x1F6EC}, {0x1F6F4, 0x1F6FC}, {0x1F7E0, 0x1F7F0}, {0x1F90C, 0x1F9FF},
    {0x1FA70, 0x1FAFF}, {0x20000, 0x3FFFD},
});

template <std::size_t Size>
bool within(const std::array<Range, Size>& ranges, char32_t code)
{
    const auto after = std::ranges::upper_bound(ranges, code, {}, &Range::first);
    return after != ranges.begin() && code <= std::prev(after)->last;
}

std::size_t widthOf(char32_t code)
{
    return within(kCombining, code) ? 0 : within(kWide, code) ? 2 : 1;
}
}

Letter firstLetter(std::string_view text)
{
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80)
        return {lead, 1};
    const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    char32_t code = lead & (0xFF >> (size + 1));
    if (lead < 0xC2 || lead > 0xF4 || size > text.size())
        return {0xFFFD, 1};
    for (std::size_t index = 1; index < size; ++index)
    {
        if ((byte(index) & 0xC0) != 0x80)
            return {0xFFFD, 1};
        code = code << 6 | (byte(index) & 0x3F);
    }
    return {code, size};
}

std::size_t displayWidth(std::string_view text)
{
    std::size_t width = 0;
    while (!text.empty())
    {
        const Letter letter = firstLetter(text);
        width += widthOf(letter.code);
        text.remove_prefix(letter.size);
    }
    return width;
}

std::string cutToWidth(std::string_view text, std::size_t width)
{
    if (displayWidth(text) <= width)
        return std::string(text);
    std::size_t taken = 0, bytes = 0;
    while (true)
    {
        const Letter letter = firstLetter(text.substr(bytes));
        taken += widthOf(letter.code);
        if (taken + 1 > width) // the ellipsis takes a column
            return std::string(text.substr(0, bytes)) + "\u2026";
        bytes += letter.size;
    }
}
}
