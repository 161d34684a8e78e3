#pragma once

#include <string_view>
#include <vector>

namespace ZelStdCore
{
// Without leading and trailing white space (std::iswspace).
std::wstring_view trim(std::wstring_view text);

// Without leading and trailing characters of the given set.
std::wstring_view trim(std::wstring_view text, std::wstring_view characters);

// The pieces between the separators: always one more than there are separators, empty pieces included.
std::vector<std::wstring_view> split(std::wstring_view text, std::wstring_view separator);
}
