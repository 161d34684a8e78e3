#pragma once

#include "hw-inventory-impl/lib/Platform/Machine.h"

namespace HardwareInventory::Platform
{
// The machine that the process runs on; defined for each system.
Machine& nativeMachine();
}
