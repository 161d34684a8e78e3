#pragma once

#include "hw-inventory-impl/lib/Records.h"

#include <cstdint>
#include <string>
#include <vector>

// The documents: compact JSON in UTF-8, keys sorted, unknown values left out. A date that cannot be written throws
// RuntimeException, memory that runs out throws std::bad_alloc.
namespace HardwareInventory
{
std::string cpusDocument(const std::vector<CpuInfo>& cpus);
std::string gpusDocument(const std::vector<GpuInfo>& gpus);
std::string ramDocument(const std::vector<RamInfo>& modules, std::uint64_t usableMemory);

// Warns of partitions and disks that report more used space than they have, once per call.
std::string disksDocument(const std::vector<DiskInfo>& disks);

std::string networkAdaptersDocument(const std::vector<NetworkAdapterInfo>& adapters);
std::string baseBoardsDocument(const std::vector<MotherBoardInfo>& boards);
std::string systemDocument(const SystemInfo& system);
std::string hotfixesDocument(const std::vector<HotfixInfo>& hotfixes);
}
