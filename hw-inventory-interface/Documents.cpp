#include "hw-inventory-interface/Documents.h"

#include "hw-inventory-impl/lib/DeviceStatus.h"
#include "hw-inventory-interface/JsonDocument.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Text.h"
#include "st-core/lib/Time.h"
#include "st-core/lib/Utf8.h"

#include <string_view>

using nlohmann::json;

namespace HardwareInventory
{
namespace
{
bool hasText(std::wstring_view text)
{
    return !ZelStdCore::trim(text).empty();
}

bool isMeaningful(std::wstring_view text)
{
    return hasText(text) && !text.starts_with(L"0x");
}

// Manufacturers leave these two texts in place of a serial number.
bool isValidSerial(std::wstring_view text)
{
    return hasText(text) && text != L"9876543210" && text != L"0x00000000";
}

void put(json& record, const char* key, std::wstring_view text)
{
    member(record, key) = ZelStdCore::toUtf8(text);
}

void putNonEmpty(json& record, const char* key, const std::wstring& text)
{
    if (!text.empty())
        put(record, key, text);
}

void putMeaningful(json& record, const char* key, const std::wstring& text)
{
    if (isMeaningful(text))
        put(record, key, text);
}

void putValidSerial(json& record, const char* key, const std::wstring& text)
{
    if (isValidSerial(text))
        put(record, key, text);
}

void putNonZero(json& record, const char* key, std::uint64_t number)
{
    if (number != 0)
        member(record, key) = number;
}

void putStatus(json& record, const char* key, DeviceStatus status)
{
    if (status != DeviceStatus::unknown)
        put(record, key, statusText(status));
}

void putDate(json& record, const char* key, std::int64_t time)
{
    if (time != 0)
        put(record, key, ZelStdCore::timeToString(time, L"%m/%d/%Y %H:%M:%S"));
}

void write(json& target, const std::wstring& text);
void write(json& target, const CpuInfo& cpu);
void write(json& target, const GpuInfo& gpu);
void write(json& target, const RamInfo& module);
void write(json& target, const MotherBoardInfo& board);
void write(json& target, const PartitionInfo& partition);
void write(json& target, const DiskInfo& disk);
void write(json& target, const NetworkAdapterInfo& adapter);
void write(json& target, const HotfixInfo& hotfix);

template <class Record>
void writeList(json& target, const std::vector<Record>& records)
{
    makeArray(target);
    for (const Record& record : records)
        write(target.emplace_back(), record);
}

template <class Record>
void putNonEmptyList(json& record, const char* key, const std::vector<Record>& records)
{
    if (!records.empty())
        writeList(member(record, key), records);
}

void write(json& target, const std::wstring& text)
{
    target = ZelStdCore::toUtf8(text);
}

void writeDevice(json& target, const DeviceInfo& device)
{
    putMeaningful(target, "name", device.name);
    putMeaningful(target, "manufacturer", device.manufacturer);
    putMeaningful(target, "model", device.model);
    putStatus(target, "status", device.status);
    putMeaningful(target, "deviceID", device.deviceID);
    putMeaningful(target, "pciAddress", device.pciAddress);
}

void write(json& target, const CpuInfo& cpu)
{
    writeDevice(target, cpu);
    putNonZero(target, "maxClockSpeed", cpu.maxClockSpeed);
    putNonZero(target, "cores", cpu.cores);
    putMeaningful(target, "socketDesignation", cpu.socketDesignation);
    putMeaningful(target, "processorID", cpu.processorID);
}

void write(json& target, const GpuInfo& gpu)
{
    writeDevice(target, gpu);
    putValidSerial(target, "serialNumber", gpu.serialNumber);
    // As a double: the documents contain the digits of the widened value.
    if (gpu.temperature)
        member(target, "temperature") = static_cast<double>(*gpu.temperature);
}

void write(json& target, const RamInfo& module)
{
    writeDevice(target, module);
    putValidSerial(target, "serialNumber", module.serialNumber);
    putNonZero(target, "capacity", module.capacity);
    putMeaningful(target, "deviceLocator", module.deviceLocator);
}

void write(json& target, const MotherBoardInfo& board)
{
    writeDevice(target, board);
    putValidSerial(target, "serialNumber", board.serialNumber);
}

void write(json& target, const PartitionInfo& partition)
{
    putNonEmpty(target, "name", partition.name);
    putNonZero(target, "size", partition.size);
    putNonZero(target, "availableSpace", partition.availableSpace);
    putStatus(target, "status", partition.status);
}

std::uint64_t usedSpace(const PartitionInfo& partition)
{
    if (partition.size <= partition.availableSpace)
    {
        ZelStdCore::logWarning(L"%1% partition available space exceeds total size: %2% vs %3%", partition.name,
                               partition.availableSpace, partition.size);
        return 0;
    }
    return partition.size - partition.availableSpace;
}

std::uint64_t availableSpace(const DiskInfo& disk)
{
    std::uint64_t used = 0;
    for (const PartitionInfo& partition : disk.partitions)
        used += usedSpace(partition);
    if (used < disk.size)
        return disk.size - used;
    ZelStdCore::logWarning(L"%1% disk used space exceeds total size: %2% vs %3%", disk.name, disk.size, used);
    return 0;
}

void write(json& target, const DiskInfo& disk)
{
    writeDevice(target, disk);
    putNonEmptyList(target, "partitions", disk.partitions);
    putNonEmpty(target, "interfaceType", disk.interfaceType);
    putNonEmpty(target, "mediaType", disk.mediaType);
    member(target, "size") = disk.size;
    putNonEmpty(target, "serialNumber", disk.serialNumber);
    member(target, "availableSpace") = availableSpace(disk);
}

void write(json& target, const NetworkAdapterInfo& adapter)
{
    writeDevice(target, adapter);
    putNonEmpty(target, "type", adapter.type);
    putNonEmpty(target, "macAddress", adapter.macAddress);
    putNonEmptyList(target, "ipAddresses", adapter.ipAddresses);
}

void write(json& target, const HotfixInfo& hotfix)
{
    putNonEmpty(target, "name", hotfix.name);
    putNonEmpty(target, "installationDate", hotfix.installationDate);
}

void write(json& target, const OsInfo& os)
{
    putNonEmpty(target, "releaseId", os.releaseId);
    putNonEmpty(target, "name", os.name);
    putNonEmpty(target, "version", os.version);
    putNonEmpty(target, "buildType", os.buildType);
    putNonEmpty(target, "family", os.family);
    putNonEmpty(target, "manufacturer", os.manufacturer);
}

void write(json& target, const SystemInfo& system)
{
    putNonEmpty(target, "machineName", system.machineName);
    write(member(target, "osInfo"), system.osInfo);
    putMeaningful(target, "productID", system.productID);
    putDate(target, "installationDate", system.installationDate);
    putNonEmpty(target, "bootDevice", system.bootDevice);
    putDate(target, "bootTime", system.bootTime);
    putMeaningful(target, "manufacturer", system.manufacturer);
    putMeaningful(target, "model", system.model);
    putMeaningful(target, "type", system.type);
    putNonEmpty(target, "biosVersion", system.biosVersion);
    putNonEmpty(target, "systemLocale", system.systemLocale);
    putNonEmpty(target, "timezone", system.timezone);
    putNonEmpty(target, "workgroup", system.workgroup);
    putNonEmpty(target, "serialNumber", system.serialNumber);
    putNonEmpty(target, "windowsDirectory", system.windowsDirectory);
    putNonEmpty(target, "systemDirectory", system.systemDirectory);
    putNonEmpty(target, "owner", system.owner);
    putNonEmpty(target, "organization", system.organization);
    putNonEmpty(target, "domain", system.domain);
    putNonEmpty(target, "logonServer", system.logonServer);
}

template <class Record>
std::string listDocument(const char* key, const std::vector<Record>& records)
{
    JsonDocument document;
    writeList(member(document.root(), key), records);
    return document.text();
}
}

std::string cpusDocument(const std::vector<CpuInfo>& cpus)
{
    return listDocument("cpus", cpus);
}

std::string gpusDocument(const std::vector<GpuInfo>& gpus)
{
    return listDocument("gpus", gpus);
}

std::string ramDocument(const std::vector<RamInfo>& modules, std::uint64_t usableMemory)
{
    JsonDocument document;
    writeList(member(document.root(), "rams"), modules);
    member(document.root(), "usableMemory") = usableMemory;
    return document.text();
}

std::string disksDocument(const std::vector<DiskInfo>& disks)
{
    return listDocument("disks", disks);
}

std::string networkAdaptersDocument(const std::vector<NetworkAdapterInfo>& adapters)
{
    return listDocument("networkAdapters", adapters);
}

std::string baseBoardsDocument(const std::vector<MotherBoardInfo>& boards)
{
    return listDocument("motherBoards", boards);
}

std::string systemDocument(const SystemInfo& system)
{
    JsonDocument document;
    write(member(document.root(), "system"), system);
    return document.text();
}

std::string hotfixesDocument(const std::vector<HotfixInfo>& hotfixes)
{
    return listDocument("hotfixes", hotfixes);
}
}
