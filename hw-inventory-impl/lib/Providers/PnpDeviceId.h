#pragma once

#include "hw-inventory-impl/lib/Records.h"

#include <map>
#include <string>

// What a plug-and-play identifier tells of a device, such as PCI\VEN_10DE&DEV_1C82&SUBSYS_11BF10DE&REV_A1\4&2ECE9E9A&0&0008.
// Whatever cannot be told is a warning, and leaves its fields as they were.
namespace HardwareInventory::Providers::WMIProvider
{
// "BUS" and "UID" are the first and the third component; the second gives a key for each of its NAME_VALUE tokens.
using PnpIdParts = std::map<std::wstring, std::wstring>;
PnpIdParts parsePnpDeviceId(const std::wstring& text);

// The maker, the model and the "VVVV:DDDD" identifier of a device on the PCI bus, named by the PCI ID list.
void fillFromPnpDeviceId(DeviceInfo& device, const std::wstring& pnpDeviceId);

// The address at which the device setup interface places the device.
void fillPciAddress(DeviceInfo& device, const std::wstring& pnpDeviceId);
}
