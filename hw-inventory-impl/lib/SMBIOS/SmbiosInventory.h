#pragma once

#include "hw-inventory-impl/lib/Records.h"
#include "hw-inventory-impl/lib/SMBIOS/StructureDecoders.h"

#include <memory>
#include <string>
#include <vector>

namespace HardwareInventory::SMBIOS
{
class AbstractParser;

// The facts of the firmware's SMBIOS table, decoded once. All are empty where the system offers no such table.
class SmbiosInventory
{
public:
    // The process-wide inventory, read on the first call. A table that cannot be read or decoded throws std::runtime_error (or
    // what a handler threw), and the next call tries again. Destroyed when the process ends.
    static const SmbiosInventory& instance();

    SmbiosInventory();
    SmbiosInventory(const SmbiosInventory&) = delete;
    SmbiosInventory& operator=(const SmbiosInventory&) = delete;

    std::vector<RamInfo> memoryModules() const { return memoryModules_; }
    const std::vector<MotherBoardInfo>& baseBoards() const { return baseBoards_; }
    const std::vector<CpuInfo>& processors() const { return processors_; }
    const std::wstring& manufacturer() const { return system_.manufacturer; }
    const std::wstring& model() const { return system_.model; }
    const std::wstring& serialNumber() const { return system_.serialNumber; }
    const std::wstring& biosVersion() const { return biosVersion_; }
    const std::wstring& chassisType() const { return chassisType_; }

private:
    std::shared_ptr<AbstractParser> parser_;
    std::vector<RamInfo> memoryModules_;
    std::vector<MotherBoardInfo> baseBoards_;
    std::vector<CpuInfo> processors_;
    SystemFacts system_;
    std::wstring biosVersion_;
    std::wstring chassisType_;
};
}
