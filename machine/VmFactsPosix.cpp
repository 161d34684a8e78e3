#include "machine/VmFacts.h"

namespace HardwareInventory
{
// The VM detection library is of Windows.
void recordVmFacts(Recording&, Platform::Machine&)
{
}
}
