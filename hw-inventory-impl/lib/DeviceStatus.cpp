#include "hw-inventory-impl/lib/DeviceStatus.h"

#include "hw-inventory-impl/lib/NameTable.h"

#include <algorithm>

namespace HardwareInventory
{
namespace
{
struct StatusOfText
{
    std::wstring_view text;
    DeviceStatus status;
};

constexpr StatusOfText kWmiStatuses[] = {
    {L"OK", DeviceStatus::ok},
    {L"Degraded", DeviceStatus::ok},
    {L"Pred Fail", DeviceStatus::ok},
    {L"Error", DeviceStatus::hasIssues},
    {L"Starting", DeviceStatus::hasIssues},
    {L"Stopping", DeviceStatus::hasIssues},
    {L"Service", DeviceStatus::hasIssues},
};

// By device status; the unknown one has no text.
constexpr auto kStatusTexts = std::to_array<const wchar_t*>({L"ok", L"has issues", L"disabled by user"});
static_assert(kStatusTexts.size() == static_cast<std::size_t>(DeviceStatus::unknown));
}

DeviceStatus statusFromWmiText(std::wstring_view text)
{
    const auto known = std::ranges::find(kWmiStatuses, text, &StatusOfText::text);
    return known == std::end(kWmiStatuses) ? DeviceStatus::unknown : known->status;
}

const wchar_t* statusText(DeviceStatus status)
{
    return nameOf(kStatusTexts, static_cast<std::uint32_t>(status));
}
}
