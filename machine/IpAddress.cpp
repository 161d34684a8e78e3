#include "machine/IpAddress.h"

#include "st-core/lib/Format.h"
#include "st-core/lib/Hexadecimal.h"
#include "st-core/lib/Text.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace HardwareInventory
{
namespace
{
constexpr std::size_t kGroups = 8;

using Pieces = std::vector<std::wstring_view>;

bool isNumber(std::wstring_view piece, std::size_t mostDigits, std::wstring_view digits)
{
    return !piece.empty() && piece.size() <= mostDigits && piece.find_first_not_of(digits) == std::wstring_view::npos;
}

// With a zero for each group that "::" leaves out.
Pieces groupsOf(std::wstring_view text)
{
    Pieces groups = ZelStdCore::split(text, L":");
    if (text.starts_with(L"::"))
        groups.erase(groups.begin());
    if (text.ends_with(L"::"))
        groups.pop_back();
    const auto gap = std::ranges::find(groups, std::wstring_view());
    if (gap == groups.end() || groups.size() > kGroups)
        return groups;
    const std::size_t missing = kGroups + 1 - groups.size();
    groups.insert(groups.erase(gap), missing, L"0");
    return groups;
}
}

std::wstring canonicalAddress(std::wstring_view text)
{
    const Pieces numbers = ZelStdCore::split(text, L".");
    const auto isDecimal = [](std::wstring_view piece) { return isNumber(piece, 3, L"0123456789"); };
    if (numbers.size() == 4 && std::ranges::all_of(numbers, isDecimal))
        return std::wstring(text);

    const Pieces groups = groupsOf(text);
    const auto isGroup = [](std::wstring_view piece) { return isNumber(piece, 4, L"0123456789abcdef"); };
    if (groups.size() != kGroups || !std::ranges::all_of(groups, isGroup))
        return {};
    std::wstring canonical;
    for (const std::wstring_view group : groups)
        canonical += ZelStdCore::format(canonical.empty() ? L"%x" : L":%x", ZelStdCore::parseHexadecimal(group).value);
    return canonical;
}

bool staysAsItIs(const std::wstring& canonical)
{
    if (canonical.find(L':') == std::wstring::npos)
        return canonical == L"0.0.0.0" || canonical.starts_with(L"127.") || canonical.starts_with(L"169.254.");
    const Pieces groups = groupsOf(canonical);
    const bool isLinkLocal = groups[0].size() == 4 && groups[0] >= L"fe80" && groups[0] <= L"febf";
    const bool isOfMac = groups[5].ends_with(L"ff") && groups[6].size() == 4 && groups[6].starts_with(L"fe");
    return canonical == L"0:0:0:0:0:0:0:0" || canonical == L"0:0:0:0:0:0:0:1" || (isLinkLocal && !isOfMac);
}

std::wstring documentationAddress(const std::wstring& canonical, std::string_view random)
{
    const auto byte = [random](std::size_t index) { return static_cast<std::uint8_t>(random[index]); };
    if (canonical.find(L':') == std::wstring::npos)
    {
        constexpr const wchar_t* kNetworks[] = {L"192.0.2.", L"198.51.100.", L"203.0.113."};
        return kNetworks[byte(0) % 3] + std::to_wstring(1 + byte(1) % 254);
    }
    std::wstring address = L"2001:db8";
    for (std::size_t group = 0; group < kGroups - 2; ++group)
        address += ZelStdCore::format(L":%x", 1u + byte(2 * group) * 255u + byte(2 * group + 1));
    return address;
}
}
