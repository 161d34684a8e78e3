#pragma once

#include "hw-inventory-impl/lib/Platform/ManagementSource.h"
#include "hw-inventory-impl/lib/Records.h"

#include <cstdint>
#include <string>

// The steps of the network adapter reader on plain values.
namespace HardwareInventory::Providers::WMIProvider
{
// Twelve digits as "00:15:5D:01:2A:0B", in their case. Empty, with a warning, for a text of another length.
std::wstring formatMacAddress(const std::wstring& text);

// The name of an NDIS medium; empty, with a warning, for an unknown one.
std::wstring ndisMediumName(std::int32_t medium);

// Fills in the type and the MAC address of an MSFT_NetAdapter, a class of ROOT\StandardCIMV2. Without a connection to that
// namespace this logs an error and changes nothing.
void fillFromNetAdapter(const ManagementObject& adapter, const ManagementSource* standardCimv2, NetworkAdapterInfo& info);
}
