#include "hw-inventory-impl/lib/Platform/WindowsMachine.h"

#include "vm-detect/vm_detect.h"

namespace HardwareInventory::Platform
{
std::int32_t WindowsMachine::vmType()
{
    return VmProbe_GetHostVMType();
}

bool WindowsMachine::isVirtual(std::int32_t type)
{
    return VmProbe_IsHostVirtual(type) != 0;
}
}
