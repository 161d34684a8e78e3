#pragma once

#include <array>
#include <cstddef>

namespace HardwareInventory
{
// The name of a code in a dense table whose first name belongs to the code `first`. A code outside the table has the fallback name.
template <std::size_t Size>
constexpr const wchar_t* nameOf(const std::array<const wchar_t*, Size>& names, long long code, long long first = 0,
                                const wchar_t* fallback = L"")
{
    const long long index = code - first;
    return index >= 0 && index < static_cast<long long>(Size) ? names[static_cast<std::size_t>(index)] : fallback;
}
}
