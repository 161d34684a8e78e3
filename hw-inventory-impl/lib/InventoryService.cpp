#include "hw-inventory-impl/lib/InventoryService.h"

#include "hw-inventory-impl/lib/GPU/GpuVendorRegistry.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/Providers/WMIConnections.h"
#include "hw-inventory-impl/lib/SMBIOS/SmbiosInventory.h"
#include "hw-inventory-impl/lib/VendorRegistry.h"
#include "hw-inventory-impl/lib/VirtualMachine.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Text.h"

#include <exception>
#include <utility>

using HardwareInventory::Providers::WMIProvider::WMIConnections;
using ZelStdCore::logInfo;
using ZelStdCore::logWarning;

namespace HardwareInventory
{
namespace
{
template <class Info>
std::vector<Info> emulated(const EmulatedDevice& device)
{
    Info info;
    info.name = device.name;
    info.manufacturer = device.manufacturer;
    info.model = device.model;
    return {std::move(info)};
}

// The SMBIOS table is a fallback source: if it cannot be read, the list is empty and the collection goes on.
std::vector<RamInfo> modulesFromFirmware()
{
    try
    {
        return SMBIOS::SmbiosInventory::instance().memoryModules();
    }
    catch (const std::exception& error)
    {
        logWarning(L"failed to resolve RAM information using SMBIOS provider: %1%", error.what());
        return {};
    }
}
}

InventoryService& InventoryService::instance()
{
    static constinit InventoryService service;
    return service;
}

std::vector<CpuInfo> InventoryService::findCpus()
{
    return WMIConnections::forThisThread().getProcessors();
}

std::vector<GpuInfo> InventoryService::findGpus()
{
    auto gpus = WMIConnections::forThisThread().getVideoControllers();
    nameNameless(gpus);
    if (gpus.empty() && isHostVirtual())
        return emulated<GpuInfo>(emulatedVideoAdapter(hypervisorName()));
    completeFromVendorLibraries(gpus);
    return gpus;
}

std::vector<RamInfo> InventoryService::findRam()
{
    auto modules = WMIConnections::forThisThread().getMemory();
    if (modules.empty())
    {
        logInfo(L"failed to resolve RAM information using platform provider, fallback to SMBIOS");
        modules = modulesFromFirmware();
    }
    numberSlots(modules);
    return modules;
}

std::uint64_t InventoryService::usableMemory()
{
    const auto memory = Platform::totalPhysicalMemory();
    if (!memory)
    {
        logWarning(L"failed to resolve usable memory using GlobalMemoryStatusEx: %1% (%2%)", memory.error().text(),
                   memory.error().code);
        return 0;
    }
    return memory.value();
}

std::vector<DiskInfo> InventoryService::findDisks()
{
    auto disks = WMIConnections::forThisThread().getDisks();
    for (DiskInfo& disk : disks)
        splitVendor(disk, VendorRegistry::instance());
    return disks;
}

std::vector<NetworkAdapterInfo> InventoryService::findNetworkAdapters()
{
    return WMIConnections::forThisThread().getNetworkAdapters();
}

std::vector<MotherBoardInfo> InventoryService::findBaseBoards()
{
    auto boards = WMIConnections::forThisThread().getBaseBoards();
    if (boards.empty() && isHostVirtual())
        return emulated<MotherBoardInfo>(emulatedBaseBoard(hypervisorName()));
    return boards;
}

SystemInfo InventoryService::findSystem()
{
    SystemInfo system = WMIConnections::forThisThread().getSystem();
    if (isHostVirtual())
    {
        system.productID.clear();
        system.type.clear();
    }
    return system;
}

std::vector<HotfixInfo> InventoryService::findHotfixes()
{
    return WMIConnections::forThisThread().getHotfixes();
}

void nameNameless(std::vector<GpuInfo>& gpus)
{
    int number = 0;
    for (GpuInfo& gpu : gpus)
    {
        if (gpu.name.empty())
            gpu.name = ZelStdCore::format(L"GPU %1%", ++number);
    }
}

void numberSlots(std::vector<RamInfo>& modules)
{
    int number = 0;
    for (RamInfo& module : modules)
    {
        module.name = ZelStdCore::format(L"Physical Memory Slot %1%", ++number);
        module.manufacturer = std::wstring(ZelStdCore::trim(module.manufacturer));
    }
}

void splitVendor(DiskInfo& disk, const VendorRegistry& registry)
{
    VendorRegistry::Match match = registry.closestVendor(disk.model);
    disk.manufacturer = std::move(match.vendor);
    disk.model = std::wstring(ZelStdCore::trim(match.rest));
}
}
