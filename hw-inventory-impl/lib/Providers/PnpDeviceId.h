#pragma once

#include "hw-inventory-impl/lib/Records.h"

#include <map>
#include <string>

// Facts from a plug-and-play device identifier such as PCI\VEN_10DE&DEV_1C82&SUBSYS_11BF10DE&REV_A1\4&2ECE9E9A&0&0008. Parts that
// cannot be parsed are logged and left unchanged.
namespace HardwareInventory::Providers::WMIProvider
{
// "BUS" and "UID" are the first and the third component; each NAME_VALUE token of the second has its own key.
using PnpIdParts = std::map<std::wstring, std::wstring>;
PnpIdParts parsePnpDeviceId(const std::wstring& text);

// Fills in the manufacturer, the model and the "VVVV:DDDD" identifier of a PCI device, with the names of the PCI ID list.
void fillFromPnpDeviceId(DeviceInfo& device, const std::wstring& pnpDeviceId);

// Fills in the PCI address, from SetupAPI.
void fillPciAddress(DeviceInfo& device, const std::wstring& pnpDeviceId);
}
