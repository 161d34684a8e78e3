#pragma once

#include "st-core/lib/Utf8.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

namespace ZelStdCore
{
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

// Fills a message pattern with positional ("%1%") or printf-like ("%s", "%d", "%04X", "%p") directives.
std::wstring formatArguments(const wchar_t* pattern, std::initializer_list<FormatArgument> arguments);

template <class... Arguments>
std::wstring format(const wchar_t* pattern, const Arguments&... arguments)
{
    return formatArguments(pattern, {FormatArgument(arguments)...});
}
}
