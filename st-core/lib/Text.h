#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace ZelStdCore
{
// Text is wide inside the library (UTF-16 on Windows, UTF-32 where wchar_t has four bytes) and UTF-8 at its borders.

// Decodes UTF-8; text that is not valid UTF-8 is taken as Latin-1 whole, so that every byte string has a wide form.
std::wstring widen(std::string_view text);

// Encodes as UTF-8. A surrogate pair becomes one four-byte sequence; a lone surrogate or a value beyond U+10FFFF becomes U+FFFD.
std::string toUtf8(std::wstring_view text);

// Without leading and trailing white space as the C library's wide classification has it.
std::wstring_view trim(std::wstring_view text);

// Without leading and trailing characters of the given set.
std::wstring_view trim(std::wstring_view text, std::wstring_view characters);

// The pieces between the separators: always one more than there are separators, empty pieces included.
std::vector<std::wstring_view> split(std::wstring_view text, std::wstring_view separator);

enum class HexadecimalError
{
    none,
    noDigits,
    outOfRange
};

// A base-16 conversion with the outcome of a 32-bit unsigned long on every platform.
struct Hexadecimal
{
    std::uint32_t value = 0;
    HexadecimalError error = HexadecimalError::none;
};

// Reads the longest hexadecimal prefix ("0x" may lead it) and ignores what follows it. The text must begin with a
// hexadecimal digit; a value beyond 32 bits is out of range.
Hexadecimal parseHexadecimal(std::string_view text);
Hexadecimal parseHexadecimal(std::wstring_view text);

// One argument of a message. Narrow text is widened, a null wide text prints as nothing.
class FormatArgument
{
public:
    FormatArgument(std::wstring_view text) : value_(std::wstring(text)) {}
    FormatArgument(const std::wstring& text) : value_(text) {}
    FormatArgument(const wchar_t* text) : value_(std::wstring(text ? text : L"")) {}
    FormatArgument(std::string_view text) : value_(widen(text)) {}
    FormatArgument(const std::string& text) : value_(widen(text)) {}
    FormatArgument(const char* text) : value_(widen(text ? text : "")) {}
    FormatArgument(const void* address) : value_(address) {}
    template <class Number>
        requires std::is_integral_v<Number>
    FormatArgument(Number number) : value_(Integer<Number>(number))
    {
    }

    using Value = std::variant<std::wstring, std::int64_t, std::uint64_t, const void*>;
    const Value& value() const { return value_; }

private:
    template <class Number>
    using Integer = std::conditional_t<std::is_signed_v<Number>, std::int64_t, std::uint64_t>;

    Value value_;
};

// Fills a message pattern. Positional ("%1%") and printf-like ("%s", "%d", "%04X", "%p") directives are both understood.
std::wstring formatArguments(const wchar_t* pattern, std::initializer_list<FormatArgument> arguments);

template <class... Arguments>
std::wstring format(const wchar_t* pattern, const Arguments&... arguments)
{
    return formatArguments(pattern, {FormatArgument(arguments)...});
}
}
