#pragma once

#include "hw-inventory-impl/lib/Records.h"

#include <vector>

namespace HardwareInventory
{
// Asks the vendors' libraries afresh and gives each adapter that they know its temperature and, where it has none, its serial
// number. An adapter is known by the exact text of its PCI address. A missing library is a warning, once per process.
void completeFromVendorLibraries(std::vector<GpuInfo>& gpus);
}
