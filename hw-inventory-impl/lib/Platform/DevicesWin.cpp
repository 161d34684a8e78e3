#include "hw-inventory-impl/lib/Platform/WindowsMachine.h"

#include "st-core/lib/Unique.h"

#include <windows.h>

#include <setupapi.h>
#include <winioctl.h>

#include <optional>

// What the drivers report: a drive's TRIM support and a device's place on its bus.
namespace HardwareInventory::Platform
{
namespace
{
using FileHandle = ZelStdCore::Unique<HANDLE, CloseHandle, ZelStdCore::kInvalidHandle>;
using DeviceSet = ZelStdCore::Unique<HDEVINFO, SetupDiDestroyDeviceInfoList, ZelStdCore::kInvalidHandle>;

static_assert(sizeof(STORAGE_PROPERTY_QUERY) == 12 && sizeof(DEVICE_TRIM_DESCRIPTOR) == 12);
static_assert(StorageDeviceTrimProperty == 8 && PropertyStandardQuery == 0);

std::optional<std::uint32_t> numericProperty(HDEVINFO set, SP_DEVINFO_DATA& device, DWORD property)
{
    std::uint32_t value = 0;
    if (!SetupDiGetDeviceRegistryPropertyA(set, &device, property, nullptr, reinterpret_cast<BYTE*>(&value), sizeof value, nullptr))
        return std::nullopt;
    return value;
}
}

Result<bool, Failure<TrimStep>> WindowsMachine::trimEnabled(const std::wstring& drivePath)
{
    const FileHandle drive(CreateFileW(drivePath.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                       OPEN_EXISTING, 0, nullptr));
    if (!drive)
        return Failure<TrimStep>{TrimStep::openDrive, GetLastError()};

    STORAGE_PROPERTY_QUERY query{};
    query.PropertyId = StorageDeviceTrimProperty;
    query.QueryType = PropertyStandardQuery;
    DEVICE_TRIM_DESCRIPTOR trim{};
    DWORD returned = 0;
    if (!DeviceIoControl(drive.get(), IOCTL_STORAGE_QUERY_PROPERTY, &query, sizeof query, &trim, sizeof trim, &returned, nullptr))
        return Failure<TrimStep>{TrimStep::query, GetLastError()};
    return trim.TrimEnabled != 0;
}

Result<DeviceLocation, Failure<DeviceSetupStep>> WindowsMachine::deviceLocation(const std::wstring& instanceId)
{
    const DeviceSet set(SetupDiGetClassDevsW(nullptr, instanceId.c_str(), nullptr, DIGCF_ALLCLASSES | DIGCF_DEVICEINTERFACE));
    if (!set)
        return Failure<DeviceSetupStep>{DeviceSetupStep::deviceSet, GetLastError()};

    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    if (!SetupDiEnumDeviceInfo(set.get(), 0, &device))
        return Failure<DeviceSetupStep>{DeviceSetupStep::element, GetLastError()};

    const auto busNumber = numericProperty(set.get(), device, SPDRP_BUSNUMBER);
    if (!busNumber)
        return Failure<DeviceSetupStep>{DeviceSetupStep::busNumber, GetLastError()};

    const auto address = numericProperty(set.get(), device, SPDRP_ADDRESS);
    if (!address)
        return Failure<DeviceSetupStep>{DeviceSetupStep::address, GetLastError()};
    return DeviceLocation{*busNumber, *address};
}
}
