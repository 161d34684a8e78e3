#pragma once

#include "hw-inventory-impl/lib/Records.h"

#include <string_view>

namespace HardwareInventory
{
// The status for the "Status" text of a WMI class, compared exactly. Degraded and failing devices still work.
DeviceStatus statusFromWmiText(std::wstring_view text);

// The text in the documents; empty for the unknown status and any value outside the enumeration.
const wchar_t* statusText(DeviceStatus status);
}
