#include "machine/NativeMachine.h"

#include "hw-inventory-impl/lib/Platform/WindowsMachine.h"

namespace HardwareInventory::Platform
{
Machine& nativeMachine()
{
    static constinit WindowsMachine thisMachine;
    return thisMachine;
}
}
