#include "hw-inventory-impl/lib/Providers/WMIConnections.h"

#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/VirtualMachine.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/LastError.h"

namespace HardwareInventory::Providers::WMIProvider
{
std::vector<RamInfo> WMIConnections::getMemory()
{
    if (!isHostVirtual())
        return {};

    const auto answer = Platform::totalPhysicalMemory();
    if (const auto* error = std::get_if<Platform::ErrorNumber>(&answer))
    {
        ZelStdCore::logWarning(L"failed to resolve memory capacity using GlobalMemoryStatusEx() for virtual machine: %1% (%2%)",
                               ZelStdCore::LastError{error->code}.text(), error->code);
        return {};
    }

    RamInfo emulated;
    emulated.name = L"Emulated memory";
    emulated.capacity = std::get<std::uint64_t>(answer);
    return {std::move(emulated)};
}
}
