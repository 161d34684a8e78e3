#include "hw-inventory-impl/lib/Providers/WMIConnections.h"

#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/VirtualMachine.h"
#include "st-core/lib/HostLogger.h"

namespace HardwareInventory::Providers::WMIProvider
{
std::vector<RamInfo> WMIConnections::getMemory()
{
    if (!isHostVirtual())
        return {};

    const auto memory = Platform::totalPhysicalMemory();
    if (!memory)
    {
        ZelStdCore::logWarning(L"failed to resolve memory capacity using GlobalMemoryStatusEx() for virtual machine: %1% (%2%)",
                               memory.error().text(), memory.error().code);
        return {};
    }

    RamInfo emulated;
    emulated.name = L"Emulated memory";
    emulated.capacity = memory.value();
    return {std::move(emulated)};
}
}
