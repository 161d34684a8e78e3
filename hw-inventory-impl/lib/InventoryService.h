#pragma once

#include "hw-inventory-impl/lib/Records.h"

#include <cstdint>
#include <vector>

namespace HardwareInventory
{
class VendorRegistry;

// Decides for each kind of inventory which source is asked, in which order, and how the answer is completed. Keeps nothing: every
// call collects afresh on the calling thread. A source that cannot be reached throws ErrorHandling::Exception.
class InventoryService
{
public:
    // The same object for the life of the process.
    static InventoryService& instance();

    std::vector<CpuInfo> findCpus();
    std::vector<GpuInfo> findGpus();
    std::vector<RamInfo> findRam();
    std::uint64_t usableMemory(); // bytes; 0 when the system does not tell
    std::vector<DiskInfo> findDisks();
    std::vector<NetworkAdapterInfo> findNetworkAdapters();
    std::vector<MotherBoardInfo> findBaseBoards();
    SystemInfo findSystem();
    std::vector<HotfixInfo> findHotfixes();
};

// The steps of the service on plain records.
void nameNameless(std::vector<GpuInfo>& gpus);                    // "GPU 1", "GPU 2" ... in list order
void numberSlots(std::vector<RamInfo>& modules);                  // "Physical Memory Slot 1" ..., makers trimmed
void splitVendor(DiskInfo& disk, const VendorRegistry& registry); // the model text into maker and model
}
