#pragma once

#include "hw-inventory-impl/lib/Records.h"

#include <cstdint>
#include <string>
#include <vector>

// The documents: compact JSON in UTF-8, keys sorted, unknown values left out. Throw RuntimeException for a date that cannot be
// written, and std::bad_alloc.
namespace HardwareInventory
{
std::string cpusDocument(const std::vector<CpuInfo>& cpus);
std::string gpusDocument(const std::vector<GpuInfo>& gpus);
std::string ramDocument(const std::vector<RamInfo>& modules, std::uint64_t usableMemory);

// Each call logs a warning for every partition and disk that reports more used space than it has.
std::string disksDocument(const std::vector<DiskInfo>& disks);

std::string networkAdaptersDocument(const std::vector<NetworkAdapterInfo>& adapters);
std::string baseBoardsDocument(const std::vector<MotherBoardInfo>& boards);
std::string systemDocument(const SystemInfo& system);
std::string hotfixesDocument(const std::vector<HotfixInfo>& hotfixes);
}
