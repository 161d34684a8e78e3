#include "st-core/lib/Text.h"

#include <algorithm>
#include <cwctype>

namespace ZelStdCore
{
namespace
{
template <class Predicate>
std::wstring_view trimIf(std::wstring_view text, Predicate isTrimmed)
{
    const auto first = std::ranges::find_if_not(text, isTrimmed);
    text.remove_prefix(static_cast<std::size_t>(first - text.begin()));
    while (!text.empty() && isTrimmed(text.back()))
        text.remove_suffix(1);
    return text;
}
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
}
