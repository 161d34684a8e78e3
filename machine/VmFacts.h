#pragma once

#include "hw-inventory-impl/lib/Platform/Machine.h"
#include "machine/Recording.h"

namespace HardwareInventory
{
// Notes the facts of the host that the VM detection library draws on, beside the type that it reports.
void recordVmFacts(Recording& recording, Platform::Machine& machine);
}
