#pragma once

#include "hw-inventory-impl/lib/Records.h"

#include <cstdint>
#include <vector>

namespace HardwareInventory
{
class VendorRegistry;

// Chooses the sources of each kind of inventory and their order, and completes the records. Stateless: every call collects afresh
// on the calling thread. A failed WMI connection or query throws ErrorHandling::Exception.
class InventoryService
{
public:
    // The same object for the life of the process.
    static InventoryService& instance();

    std::vector<CpuInfo> findCpus();
    std::vector<GpuInfo> findGpus();
    std::vector<RamInfo> findRam();
    std::uint64_t usableMemory(); // bytes; 0 if unknown
    std::vector<DiskInfo> findDisks();
    std::vector<NetworkAdapterInfo> findNetworkAdapters();
    std::vector<MotherBoardInfo> findBaseBoards();
    SystemInfo findSystem();
    std::vector<HotfixInfo> findHotfixes();
};

// The steps of the service on plain records.
void nameNameless(std::vector<GpuInfo>& gpus);                    // "GPU 1", "GPU 2" ... in list order
void numberSlots(std::vector<RamInfo>& modules);                  // "Physical Memory Slot 1" ..., manufacturers trimmed
void splitVendor(DiskInfo& disk, const VendorRegistry& registry); // the model text into manufacturer and model
}
