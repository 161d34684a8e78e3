#include "st-core/lib/Utf8.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace ZelStdCore
{
namespace
{
constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLargestCodePoint = 0x10FFFF;
constexpr std::size_t kLongestUtf8Sequence = 4;

// By length of the sequence: the smallest code point that needs it, and the marker of its first byte.
constexpr char32_t kSmallestOfLength[] = {0, 0, 0x80, 0x800, 0x10000};
constexpr unsigned char kLeadOfLength[] = {0, 0, 0xC0, 0xE0, 0xF0};

bool isHighSurrogate(char32_t value)
{
    return value >= 0xD800 && value <= 0xDBFF;
}

bool isLowSurrogate(char32_t value)
{
    return value >= 0xDC00 && value <= 0xDFFF;
}

bool isCodePoint(char32_t value)
{
    return value <= kLargestCodePoint && !isHighSurrogate(value) && !isLowSurrogate(value);
}

void appendWide(std::wstring& text, char32_t codePoint)
{
    if constexpr (sizeof(wchar_t) == 2)
        if (codePoint >= 0x10000)
        {
            text += static_cast<wchar_t>(0xD800 + ((codePoint - 0x10000) >> 10));
            text += static_cast<wchar_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
            return;
        }
    text += static_cast<wchar_t>(codePoint);
}

std::size_t utf8Length(char32_t codePoint)
{
    return codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : kLongestUtf8Sequence;
}

void appendUtf8(std::string& text, char32_t codePoint)
{
    const std::size_t length = utf8Length(codePoint);
    if (length == 1)
    {
        text += static_cast<char>(codePoint);
        return;
    }
    text += static_cast<char>(kLeadOfLength[length] | (codePoint >> (6 * (length - 1))));
    for (std::size_t left = length - 1; left-- > 0;)
        text += static_cast<char>(0x80 | ((codePoint >> (6 * left)) & 0x3F));
}

std::size_t sequenceLength(unsigned char lead)
{
    if (lead < 0x80)
        return 1;
    for (std::size_t length = 2; length <= kLongestUtf8Sequence; ++length)
        if ((lead & (0xFF << (7 - length) & 0xFF)) == kLeadOfLength[length])
            return length;
    return 0;
}

// Removes the first code point from the text and returns it; nothing if the text is not well formed.
std::optional<char32_t> takeCodePoint(std::string_view& text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = sequenceLength(lead);
    if (length == 0 || length > text.size())
        return std::nullopt;

    char32_t value = length == 1 ? lead : lead & (0x7F >> length);
    for (const char byte : text.substr(1, length - 1))
    {
        if ((byte & 0xC0) != 0x80)
            return std::nullopt;
        value = value << 6 | (byte & 0x3F);
    }
    if (!isCodePoint(value) || value < kSmallestOfLength[length])
        return std::nullopt;
    text.remove_prefix(length);
    return value;
}

std::wstring widenLatin1(std::string_view text)
{
    std::wstring wide;
    std::ranges::transform(text, std::back_inserter(wide), [](char byte) { return static_cast<unsigned char>(byte); });
    return wide;
}
}

std::wstring widen(std::string_view text)
{
    std::wstring wide;
    wide.reserve(text.size());
    for (std::string_view rest = text; !rest.empty();)
    {
        const auto codePoint = takeCodePoint(rest);
        if (!codePoint)
            return widenLatin1(text);
        appendWide(wide, *codePoint);
    }
    return wide;
}

std::string toUtf8(std::wstring_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index)
    {
        auto codePoint = static_cast<char32_t>(text[index]);
        if (isHighSurrogate(codePoint) && index + 1 < text.size() && isLowSurrogate(text[index + 1]))
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (static_cast<char32_t>(text[++index]) - 0xDC00);
        appendUtf8(bytes, isCodePoint(codePoint) ? codePoint : kReplacement);
    }
    return bytes;
}
}
