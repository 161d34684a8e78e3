#pragma once

#include "hw-inventory-impl/lib/Records.h"

#include <memory>
#include <string>
#include <vector>

namespace HardwareInventory::SMBIOS
{
// The facts of the firmware's SMBIOS table, decoded once.
class SmbiosInventory
{
public:
    // The process-wide inventory, read on the first call. A table that cannot be read or decoded throws std::runtime_error (or
    // what a handler threw), and the next call tries again. Unsynchronised; never destroyed.
    static const SmbiosInventory& instance();

    SmbiosInventory();

    std::vector<RamInfo> memoryModules() const { return memoryModules_; }
    const std::vector<MotherBoardInfo>& baseBoards() const { return baseBoards_; }
    const std::vector<CpuInfo>& processors() const { return processors_; }
    const std::wstring& manufacturer() const { return manufacturer_; }
    const std::wstring& model() const { return model_; }
    const std::wstring& serialNumber() const { return serialNumber_; }
    const std::wstring& biosVersion() const { return biosVersion_; }
    const std::wstring& chassisType() const { return chassisType_; }

private:
    std::vector<RamInfo> memoryModules_;
    std::vector<MotherBoardInfo> baseBoards_;
    std::vector<CpuInfo> processors_;
    std::wstring manufacturer_;
    std::wstring model_;
    std::wstring serialNumber_;
    std::wstring biosVersion_;
    std::wstring chassisType_;
};
}
