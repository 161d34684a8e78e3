#include "hw-inventory-impl/lib/Platform/WindowsMachine.h"

namespace HardwareInventory::Platform
{
Machine& machine()
{
    static constinit WindowsMachine thisMachine;
    return thisMachine;
}
}
