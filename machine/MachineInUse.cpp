#include "machine/MachineInUse.h"

namespace HardwareInventory::Platform
{
namespace
{
Machine* inUse = nullptr;
}

void useMachine(Machine& machine)
{
    inUse = &machine;
}

Machine& machine()
{
    return *inUse;
}
}
