#include "hw-inventory-impl/lib/Providers/WMIConnections.h"

#include "hw-inventory-impl/lib/Providers/PnpDeviceId.h"
#include "hw-inventory-impl/lib/Providers/Properties.h"
#include "hw-inventory-impl/lib/VirtualMachine.h"

namespace HardwareInventory::Providers::WMIProvider
{
namespace
{
void readVideoController(const ManagementObject& controller, std::vector<GpuInfo>& gpus)
{
    GpuInfo info;
    const std::wstring pnpDeviceId = getString(controller, L"PNPDeviceID");
    fillFromPnpDeviceId(info, pnpDeviceId);
    fillPciAddress(info, pnpDeviceId);
    read(controller, L"Name", info.name);
    if (info.name == L"Microsoft Remote Display Adapter")
        return;

    if (info.manufacturer.empty())
        read(controller, L"Manufacturer", info.manufacturer);
    if (info.model.empty())
        read(controller, L"VideoProcessor", info.model);
    if (info.model.empty())
        info.model = info.name;
    read(controller, L"Status", info.status);
    gpus.push_back(std::move(info));
}

// A hypervisor's display adapter uses Windows' basic driver, which has no name for it.
void nameEmulatedAdapters(std::vector<GpuInfo>& gpus)
{
    const EmulatedDevice emulated = emulatedVideoAdapter(hypervisorName());
    for (GpuInfo& gpu : gpus)
    {
        if (gpu.name != L"Microsoft Basic Display Adapter")
            continue;
        gpu.name = emulated.name;
        gpu.manufacturer = emulated.manufacturer;
        gpu.model = emulated.model;
    }
}
}

std::vector<CpuInfo> WMIConnections::getProcessors()
{
    std::vector<CpuInfo> cpus;
    cimv2_->query(L"SELECT * FROM Win32_Processor",
                  [&](const ManagementObjectPtr& processor)
                  {
                      CpuInfo& info = cpus.emplace_back();
                      read(*processor, L"Name", info.name);
                      read(*processor, L"Manufacturer", info.manufacturer);
                      info.model = info.name;
                      read(*processor, L"Status", info.status);
                      read(*processor, L"MaxClockSpeed", info.maxClockSpeed);
                      read(*processor, L"NumberOfCores", info.cores);
                      read(*processor, L"SocketDesignation", info.socketDesignation);
                      read(*processor, L"ProcessorId", info.processorID);
                  });
    return cpus;
}

std::vector<MotherBoardInfo> WMIConnections::getBaseBoards()
{
    std::vector<MotherBoardInfo> boards;
    cimv2_->query(L"SELECT * FROM Win32_BaseBoard",
                  [&](const ManagementObjectPtr& board)
                  {
                      MotherBoardInfo& info = boards.emplace_back();
                      read(*board, L"Name", info.name);
                      read(*board, L"Manufacturer", info.manufacturer);
                      read(*board, L"Model", info.model);
                      if (info.model.empty())
                          read(*board, L"Product", info.model);
                      read(*board, L"SerialNumber", info.serialNumber);
                      read(*board, L"Status", info.status);
                  });
    return boards;
}

std::vector<GpuInfo> WMIConnections::getVideoControllers()
{
    std::vector<GpuInfo> gpus;
    cimv2_->query(L"SELECT * FROM Win32_VideoController",
                  [&](const ManagementObjectPtr& controller) { readVideoController(*controller, gpus); });
    if (isHostVirtual())
        nameEmulatedAdapters(gpus);
    return gpus;
}
}
