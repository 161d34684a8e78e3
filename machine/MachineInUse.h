#pragma once

#include "hw-inventory-impl/lib/Platform/Machine.h"

namespace HardwareInventory::Platform
{
// Makes it the machine that machine() returns. There is none before.
void useMachine(Machine& machine);
}
