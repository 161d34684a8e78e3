#include "st-core/lib/Text.h"

#include <boost/format.hpp>

#include <algorithm>
#include <cwctype>
#include <limits>
#include <locale>
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

// The code point at the beginning of the text, which is cut off; nothing where the text is not well formed.
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

template <class Blank>
std::wstring_view trimIf(std::wstring_view text, Blank isBlank)
{
    const auto first = std::ranges::find_if_not(text, isBlank);
    text.remove_prefix(static_cast<std::size_t>(first - text.begin()));
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

template <class Character>
std::optional<unsigned> hexadecimalDigit(Character character)
{
    if (character >= '0' && character <= '9')
        return static_cast<unsigned>(character - '0');
    if (character >= 'a' && character <= 'f')
        return static_cast<unsigned>(character - 'a' + 10);
    if (character >= 'A' && character <= 'F')
        return static_cast<unsigned>(character - 'A' + 10);
    return std::nullopt;
}

template <class Character>
Hexadecimal parsePrefix(std::basic_string_view<Character> text)
{
    if (text.empty() || !hexadecimalDigit(text.front()))
        return {0, HexadecimalError::noDigits};
    // "0x" with nothing behind it is a zero all the same.
    if (text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
        text.remove_prefix(2);

    std::uint64_t value = 0;
    for (const Character character : text)
    {
        const auto digit = hexadecimalDigit(character);
        if (!digit)
            break;
        value = value << 4 | *digit;
        if (value > std::numeric_limits<std::uint32_t>::max())
            return {0, HexadecimalError::outOfRange};
    }
    return {static_cast<std::uint32_t>(value), HexadecimalError::none};
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

std::wstring_view trim(std::wstring_view text)
{
    return trimIf(text, [](wchar_t character) { return std::iswspace(character) != 0; });
}

std::wstring_view trim(std::wstring_view text, std::wstring_view characters)
{
    return trimIf(text, [characters](wchar_t character) { return characters.find(character) != std::wstring_view::npos; });
}

std::vector<std::wstring_view> split(std::wstring_view text, std::wstring_view separator)
{
    std::vector<std::wstring_view> pieces;
    std::size_t begin = 0;
    if (!separator.empty())
        for (auto end = text.find(separator); end != std::wstring_view::npos; end = text.find(separator, begin))
        {
            pieces.push_back(text.substr(begin, end - begin));
            begin = end + separator.size();
        }
    pieces.push_back(text.substr(begin));
    return pieces;
}

Hexadecimal parseHexadecimal(std::string_view text)
{
    return parsePrefix(text);
}

Hexadecimal parseHexadecimal(std::wstring_view text)
{
    return parsePrefix(text);
}

std::wstring formatArguments(const wchar_t* pattern, std::initializer_list<FormatArgument> arguments)
{
    // The classic locale: numbers are written without the grouping of the process's own locale.
    boost::wformat message(pattern, std::locale::classic());
    for (const FormatArgument& argument : arguments)
        std::visit([&message](const auto& value) { message % value; }, argument.value());
    return message.str();
}
}
