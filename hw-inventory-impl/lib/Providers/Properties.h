#pragma once

#include "hw-inventory-impl/lib/Platform/ManagementSource.h"
#include "hw-inventory-impl/lib/Records.h"
#include "st-core/lib/Time.h"

#include <cstdint>
#include <string>
#include <vector>

// The typed getters of the readers. A missing or mistyped property logs a warning and yields the neutral value: the empty text, 0,
// the given default, no strings. Exceptions of the object pass through.
namespace HardwareInventory::Providers::WMIProvider
{
std::wstring getString(const ManagementObject& object, const wchar_t* property);
std::int32_t getInt(const ManagementObject& object, const wchar_t* property);
bool getBool(const ManagementObject& object, const wchar_t* property, bool defaultValue);
std::vector<std::wstring> getStringArray(const ManagementObject& object, const wchar_t* property);

// A date and time of the form yyyymmddHHMMSS.ffffff+UUU, taken as local time: fraction and time zone are ignored. 0 if the text
// has not exactly one point.
ZelStdCore::CalendarTime getDateTime(const ManagementObject& object, const wchar_t* property);

// The decimal number that the text begins with, as a stream extracts it: 0 without one, the maximum if it does not fit.
std::uint64_t toUInt64(const std::wstring& text);

// Assigns the property to a field, whose type picks the getter.
void read(const ManagementObject& object, const wchar_t* property, std::wstring& field);
void read(const ManagementObject& object, const wchar_t* property, std::uint32_t& field);
void read(const ManagementObject& object, const wchar_t* property, std::uint64_t& field); // a size in decimal text
void read(const ManagementObject& object, const wchar_t* property, ZelStdCore::CalendarTime& field);
void read(const ManagementObject& object, const wchar_t* property, DeviceStatus& field); // the text of a "Status" property
void read(const ManagementObject& object, const wchar_t* property, std::vector<std::wstring>& field);
}
