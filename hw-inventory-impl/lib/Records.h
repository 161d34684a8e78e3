#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The inventory's records: plain values, each field named as its key in the documents. An empty text, a zero number or an unset
// optional means "unknown"; the documents leave the key out.
namespace HardwareInventory
{
enum class DeviceStatus : std::uint32_t
{
    ok,
    hasIssues,
    disabledByUser,
    unknown
};

struct DeviceInfo
{
    std::wstring name;
    std::wstring manufacturer;
    std::wstring model;
    DeviceStatus status = DeviceStatus::unknown;
    std::wstring deviceID;   // "VVVV:DDDD" of a PCI device
    std::wstring pciAddress; // "domain:bus:device.function" of a video adapter, lower-case hexadecimal
};

struct CpuInfo : DeviceInfo
{
    std::uint32_t maxClockSpeed = 0; // MHz
    std::uint32_t cores = 0;
    std::wstring socketDesignation;
    std::wstring processorID;
};

struct GpuInfo : DeviceInfo
{
    std::wstring serialNumber;
    std::optional<float> temperature; // degrees Celsius
};

struct RamInfo : DeviceInfo
{
    std::wstring serialNumber;
    std::uint64_t capacity = 0; // bytes
    std::wstring deviceLocator;
};

struct MotherBoardInfo : DeviceInfo
{
    std::wstring serialNumber;
};

struct PartitionInfo
{
    std::wstring name;
    std::uint64_t size = 0;           // bytes
    std::uint64_t availableSpace = 0; // bytes; wraps around where volumes report more used space than the partition has
    DeviceStatus status = DeviceStatus::unknown;
};

struct DiskInfo : DeviceInfo
{
    std::vector<PartitionInfo> partitions;
    std::wstring interfaceType;
    std::wstring mediaType; // "SSD", "HDD" or empty
    std::uint64_t size = 0; // bytes
    std::wstring serialNumber;
};

struct NetworkAdapterInfo : DeviceInfo
{
    std::wstring type;
    std::wstring macAddress;
    std::vector<std::wstring> ipAddresses;
};

struct HotfixInfo
{
    std::wstring name;
    std::wstring installationDate; // as WMI returns it
};

struct OsInfo
{
    std::wstring releaseId;
    std::wstring name;
    std::wstring version;
    std::wstring buildType;
    std::wstring family;
    std::wstring manufacturer;
};

struct SystemInfo
{
    std::wstring machineName;
    OsInfo osInfo;
    std::wstring productID;
    std::int64_t installationDate = 0; // seconds since the epoch
    std::wstring bootDevice;
    std::int64_t bootTime = 0; // seconds since the epoch
    std::wstring manufacturer;
    std::wstring model;
    std::wstring type;
    std::wstring biosVersion;
    std::wstring systemLocale;
    std::wstring timezone;
    std::wstring workgroup;
    std::wstring serialNumber;
    std::wstring windowsDirectory;
    std::wstring systemDirectory;
    std::wstring owner;
    std::wstring organization;
    std::wstring domain;
    std::wstring logonServer;
};
}
