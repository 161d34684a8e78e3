#include "hw-inventory-impl/lib/Providers/WMIConnections.h"

#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/Providers/Properties.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Text.h"

#include <map>

namespace HardwareInventory::Providers::WMIProvider
{
namespace
{
using Platform::TrimStep;

// The logical disks ("C:") on each partition ("Disk #0, Partition #1").
using VolumesByPartition = std::map<std::wstring, std::vector<std::wstring>>;

VolumesByPartition findVolumes(ManagementSource& cimv2)
{
    VolumesByPartition volumes;
    cimv2.query(L"SELECT * FROM Win32_LogicalDiskToPartition",
                [&](const ManagementObjectPtr& link)
                {
                    // Object paths; the quoted key value is the identifier.
                    const std::wstring partition = getString(*link, L"Antecedent");
                    const std::wstring volume = getString(*link, L"Dependent");
                    const auto partitionPieces = ZelStdCore::split(partition, L"\"");
                    const auto volumePieces = ZelStdCore::split(volume, L"\"");
                    if (partitionPieces.size() < 2 || volumePieces.size() < 2)
                        return;
                    volumes[std::wstring(partitionPieces[1])].emplace_back(volumePieces[1]);
                });
    return volumes;
}

std::uint64_t usedSpace(ManagementSource& cimv2, const std::wstring& volume)
{
    std::uint64_t used = 0;
    cimv2.query(ZelStdCore::format(L"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = '%1%'", volume),
                [&](const ManagementObjectPtr& disk)
                {
                    std::uint64_t size = 0;
                    std::uint64_t free = 0;
                    read(*disk, L"Size", size);
                    read(*disk, L"FreeSpace", free);
                    used += size - free;
                });
    return used;
}

PartitionInfo readPartition(ManagementSource& cimv2, const ManagementObject& partition, const VolumesByPartition& volumes)
{
    PartitionInfo info;
    const std::wstring deviceId = getString(partition, L"DeviceID");
    read(partition, L"Name", info.name);
    read(partition, L"Size", info.size);
    read(partition, L"Status", info.status);

    // Wraps around if the volumes use more than the partition has; the document writer checks that.
    info.availableSpace = info.size;
    const auto found = volumes.find(deviceId);
    if (found == volumes.end())
        return info;
    for (const std::wstring& volume : found->second)
        info.availableSpace -= usedSpace(cimv2, volume);
    return info;
}

// "SSD" or "HDD"; empty, with a warning, if unknown.
std::wstring getDiskMediaType(const std::wstring& drivePath)
{
    const auto enabled = Platform::trimEnabled(drivePath);
    if (enabled)
        return enabled.value() ? L"SSD" : L"HDD";

    const wchar_t* pattern = enabled.error().step == TrimStep::openDrive ? L"CreateFile failed with error code: %1%"
                                                                         : L"DeviceIoControl failed with error code: %1%";
    ZelStdCore::logWarning(L"Couldn't determine media type of disk drive %1%: %2%", drivePath,
                           ZelStdCore::format(pattern, enabled.error().code));
    return {};
}

DiskInfo readDisk(ManagementSource& cimv2, const ManagementObject& drive, const VolumesByPartition& volumes)
{
    DiskInfo info;
    const std::wstring drivePath = getString(drive, L"DeviceID");
    read(drive, L"Model", info.model);
    read(drive, L"InterfaceType", info.interfaceType);
    info.mediaType = getDiskMediaType(drivePath);
    read(drive, L"Name", info.name);
    read(drive, L"Size", info.size);
    read(drive, L"Status", info.status);
    read(drive, L"SerialNumber", info.serialNumber);
    cimv2.query(
        ZelStdCore::format(L"ASSOCIATORS OF {Win32_DiskDrive.DeviceID='%1%'} WHERE ResultClass=Win32_DiskPartition", drivePath),
        [&](const ManagementObjectPtr& partition) { info.partitions.push_back(readPartition(cimv2, *partition, volumes)); });
    return info;
}
}

std::vector<DiskInfo> WMIConnections::getDisks()
{
    const VolumesByPartition volumes = findVolumes(*cimv2_);
    std::vector<DiskInfo> disks;
    cimv2_->query(L"SELECT * FROM Win32_DiskDrive",
                  [&](const ManagementObjectPtr& drive) { disks.push_back(readDisk(*cimv2_, *drive, volumes)); });
    return disks;
}
}
