#include "hw-inventory-impl/lib/Providers/NetworkReader.h"

#include "hw-inventory-impl/lib/NameTable.h"
#include "hw-inventory-impl/lib/Providers/PnpDeviceId.h"
#include "hw-inventory-impl/lib/Providers/Properties.h"
#include "hw-inventory-impl/lib/Providers/WMIConnections.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Text.h"

#include <array>

namespace HardwareInventory::Providers::WMIProvider
{
namespace
{
constexpr std::size_t kMacLength = 12;

// By "NdisMedium"
constexpr auto kNdisMedia = std::to_array<const wchar_t*>({
    L"802.3",
    L"802.5",
    L"FDDI",
    L"WAN",
    L"Local Talk",
    L"DIX",
    L"Raw Arcnet",
    L"878.2",
    L"ATM",
    L"Wireless WAN",
    L"IRDA",
    L"BPC",
    L"Connection Oriented WAN",
    L"IP 1394",
    L"IB",
    L"Tunnel",
    L"Native 802.11",
    L"Loopback",
    L"WiMAX",
    L"IP",
});
static_assert(kNdisMedia.size() == 20);

bool isVirtualAdapter(const ManagementObject& adapter, bool hasStandardCimv2)
{
    return hasStandardCimv2 ? getBool(adapter, L"Virtual", false) : !getBool(adapter, L"PhysicalAdapter", true);
}

void fillIpAddresses(ManagementSource& cimv2, const std::wstring& settingId, NetworkAdapterInfo& info)
{
    cimv2.query(ZelStdCore::format(L"SELECT * FROM Win32_NetworkAdapterConfiguration WHERE SettingID='%1%'", settingId),
                [&](const ManagementObjectPtr& configuration) { read(*configuration, L"IPAddress", info.ipAddresses); });
}

void fillFromWin32Adapter(const ManagementObject& adapter, NetworkAdapterInfo& info)
{
    if (info.manufacturer.empty())
        read(adapter, L"Manufacturer", info.manufacturer);
    if (info.model.empty())
        read(adapter, L"ProductName", info.model);
    read(adapter, L"AdapterType", info.type);
    read(adapter, L"MACAddress", info.macAddress);
}

void readAdapter(const ManagementObject& adapter, ManagementSource& cimv2, const ManagementSource* standardCimv2,
                 std::vector<NetworkAdapterInfo>& adapters)
{
    const bool hasStandardCimv2 = standardCimv2 != nullptr;
    NetworkAdapterInfo info;
    read(adapter, L"Name", info.name);
    read(adapter, L"Status", info.status);
    if (isVirtualAdapter(adapter, hasStandardCimv2))
        return ZelStdCore::logTrace(L"skipping logical '%1%' network adapter", info.name);

    fillFromPnpDeviceId(info, getString(adapter, L"PNPDeviceID"));
    fillIpAddresses(cimv2, getString(adapter, hasStandardCimv2 ? L"DeviceID" : L"GUID"), info);
    if (hasStandardCimv2)
        fillFromNetAdapter(adapter, standardCimv2, info);
    else
        fillFromWin32Adapter(adapter, info);
    adapters.push_back(std::move(info));
}
}

std::wstring formatMacAddress(const std::wstring& text)
{
    if (text.size() != kMacLength)
    {
        ZelStdCore::logWarning(L"failed to format '%1%' as MAC address: MAC address should contain %2% runes", text, kMacLength);
        return {};
    }
    std::wstring address = text.substr(0, 2);
    for (std::size_t position = 2; position < kMacLength; position += 2)
        address += L":" + text.substr(position, 2);
    return address;
}

std::wstring ndisMediumName(std::int32_t medium)
{
    const wchar_t* name = nameOf(kNdisMedia, medium, 0, nullptr);
    if (name)
        return name;
    ZelStdCore::logWarning(L"%1% is not a known network interface type ID", medium);
    return {};
}

void fillFromNetAdapter(const ManagementObject& adapter, const ManagementSource* standardCimv2, NetworkAdapterInfo& info)
{
    if (!standardCimv2)
        return ZelStdCore::logError(L"no 'ROOT\\StandardCIMv2' WMI namespace connection to fill %1% network adapter info",
                                    info.name);
    info.type = ndisMediumName(getInt(adapter, L"NdisMedium"));
    info.macAddress = formatMacAddress(getString(adapter, L"PermanentAddress"));
}

std::vector<NetworkAdapterInfo> WMIConnections::getNetworkAdapters()
{
    std::vector<NetworkAdapterInfo> adapters;
    const auto append = [&](const ManagementObjectPtr& adapter) { readAdapter(*adapter, *cimv2_, standardCimv2_.get(), adapters); };
    if (standardCimv2_)
        standardCimv2_->query(L"SELECT * FROM MSFT_NetAdapter", append);
    else
        cimv2_->query(L"SELECT * FROM Win32_NetworkAdapter", append);
    return adapters;
}
}
