#include "hw-inventory-impl/lib/Providers/Properties.h"

#include "hw-inventory-impl/lib/DeviceStatus.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Text.h"

#include <locale>
#include <sstream>
#include <variant>

namespace HardwareInventory::Providers::WMIProvider
{
namespace
{
// What the C library makes of a date that it cannot count, such as one before 1970 on Windows.
constexpr ZelStdCore::CalendarTime kNotRepresentable = -1;

void warnUnreadable(const ManagementObject& object, const wchar_t* property)
{
    ZelStdCore::logWarning(L"failed to get '%s' property of %p", property, object.address());
}
}

std::wstring getString(const ManagementObject& object, const wchar_t* property)
{
    PropertyValue value = object.get(property);
    if (std::wstring* text = std::get_if<std::wstring>(&value))
        return std::move(*text);

    if (std::holds_alternative<Unreadable>(value))
        warnUnreadable(object, property);
    else
        ZelStdCore::logWarning(L"'%s' property of %p is not a BSTR as expected", property, object.address());
    return {};
}

std::int32_t getInt(const ManagementObject& object, const wchar_t* property)
{
    const PropertyValue value = object.get(property);
    if (const std::int32_t* number = std::get_if<std::int32_t>(&value))
        return *number;

    if (std::holds_alternative<Unreadable>(value))
        warnUnreadable(object, property);
    else
        ZelStdCore::logWarning(L"'%s' property of %p is not 4-byte int as expected", property, object.address());
    return 0;
}

bool getBool(const ManagementObject& object, const wchar_t* property, bool defaultValue)
{
    const std::optional<bool> value = object.getBool(property);
    if (!value)
        warnUnreadable(object, property);
    return value.value_or(defaultValue);
}

std::vector<std::wstring> getStringArray(const ManagementObject& object, const wchar_t* property)
{
    auto value = object.getStringArray(property);
    if (auto* texts = std::get_if<std::vector<std::wstring>>(&value))
        return std::move(*texts);

    switch (std::get<ManagementObject::ArrayFailure>(value))
    {
    case ManagementObject::ArrayFailure::unreadable:
        warnUnreadable(object, property);
        break;
    case ManagementObject::ArrayFailure::notAttached:
        ZelStdCore::logWarning(L"failed to attach variant to CComVariant");
        break;
    }
    return {};
}

ZelStdCore::CalendarTime getDateTime(const ManagementObject& object, const wchar_t* property)
{
    const std::wstring text = getString(object, property);
    const auto pieces = ZelStdCore::split(text, L".");
    if (pieces.size() != 2)
        return 0;

    // Firmware dates may hold asterisks for what is not known: one odd date is not to end an inventory.
    const auto reading = ZelStdCore::readTime(std::wstring(pieces.front()), L"%Y%m%d%H%M%S");
    if (const auto* const failure = std::get_if<ZelStdCore::TimeFailure>(&reading))
    {
        ZelStdCore::logWarning(L"%1%", failure->message);
        return 0;
    }
    const auto time = std::get<ZelStdCore::CalendarTime>(reading);
    if (time == kNotRepresentable)
    {
        ZelStdCore::logWarning(L"'%s' property of %p is not a representable date as expected", property, object.address());
        return 0;
    }
    return time;
}

std::uint64_t toUInt64(const std::wstring& text)
{
    std::uint64_t number = 0;
    std::wistringstream stream(text);
    stream.imbue(std::locale::classic()); // the host's own locale may group digits
    stream >> number;
    return number;
}

void read(const ManagementObject& object, const wchar_t* property, std::wstring& field)
{
    field = getString(object, property);
}

void read(const ManagementObject& object, const wchar_t* property, std::uint32_t& field)
{
    field = static_cast<std::uint32_t>(getInt(object, property));
}

void read(const ManagementObject& object, const wchar_t* property, std::uint64_t& field)
{
    field = toUInt64(getString(object, property));
}

void read(const ManagementObject& object, const wchar_t* property, ZelStdCore::CalendarTime& field)
{
    field = getDateTime(object, property);
}

void read(const ManagementObject& object, const wchar_t* property, DeviceStatus& field)
{
    field = statusFromWmiText(getString(object, property));
}

void read(const ManagementObject& object, const wchar_t* property, std::vector<std::wstring>& field)
{
    field = getStringArray(object, property);
}
}
