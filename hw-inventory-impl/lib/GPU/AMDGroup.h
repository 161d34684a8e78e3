#pragma once

#include "hw-inventory-impl/lib/GPU/AMDGPU.h"
#include "hw-inventory-impl/lib/GPU/Adl.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace HardwareInventory
{
// AMD's library and its physical adapters, as they are at construction: one per PCI address, however many outputs it has.
// Throws AMDException when the library cannot be used.
class AMDGroup
{
public:
    AMDGroup();
    AMDGroup(const AMDGroup&) = delete;
    AMDGroup& operator=(const AMDGroup&) = delete;
    ~AMDGroup();

    const std::vector<std::shared_ptr<AMDGPU>>& gpus() const { return gpus_; }

private:
    void add(const Adl::AdapterInfo& adapter);

    std::unordered_map<std::string, std::shared_ptr<AMDGPU>> byPciAddress_;
    std::vector<std::shared_ptr<AMDGPU>> gpus_; // in the order of the library
};
}
