#include "tests/unit/smbios/SmbiosTest.h"

namespace smbios_test
{
namespace
{
std::wstring common(const HardwareInventory::DeviceInfo& device)
{
    return L"name=" + device.name + L" manufacturer=" + device.manufacturer + L" model=" + device.model + L" status=" +
           std::to_wstring(static_cast<unsigned>(device.status)) + device.deviceID + device.pciAddress;
}
}

std::wstring show(const HardwareInventory::MotherBoardInfo& board)
{
    return common(board) + L" serialNumber=" + board.serialNumber;
}

std::wstring show(const HardwareInventory::CpuInfo& processor)
{
    return common(processor) + L" maxClockSpeed=" + std::to_wstring(processor.maxClockSpeed) + L" cores=" +
           std::to_wstring(processor.cores) + L" socketDesignation=" + processor.socketDesignation + L" processorID=" +
           processor.processorID;
}

std::wstring show(const HardwareInventory::RamInfo& memory)
{
    return common(memory) + L" serialNumber=" + memory.serialNumber + L" capacity=" + std::to_wstring(memory.capacity) +
           L" deviceLocator=" + memory.deviceLocator;
}
}
