#pragma once

#include "hw-inventory-impl/lib/GPU/IGPU.h"
#include "hw-inventory-impl/lib/GPU/Nvml.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace HardwareInventory
{
struct NvidiaReadings
{
    std::optional<float> temperature; // degrees Celsius
    float powerWatts = 0;
    std::uint32_t memoryUtilization = 0; // percent
    std::uint32_t gpuUtilization = 0;    // percent
    float memoryUsedPercent = 0;
    float memoryFreeKiB = 0;
    float memoryUsedKiB = 0;
    float memoryTotalKiB = 0;
    std::string pciBusId;
    std::string serial;
};

// A device of an initialised library; its values are read at once.
class NvidiaGPU final : public IGPU
{
public:
    NvidiaGPU(std::uint32_t index, Nvml::Device device);

    int update() override;
    std::optional<float> temperature() const override { return readings_.temperature; }
    std::string pciAddress() const override { return readings_.pciBusId; }
    std::string serial() const override { return readings_.serial; }

    std::uint32_t index() const { return index_; }
    const NvidiaReadings& readings() const { return readings_; }

private:
    std::uint32_t index_;
    Nvml::Device device_;
    NvidiaReadings readings_;
};

// Nvidia's library and its devices, as they are at construction. Throws NvidiaException when the library cannot be used.
class NvidiaGroup
{
public:
    NvidiaGroup();
    NvidiaGroup(const NvidiaGroup&) = delete;
    NvidiaGroup& operator=(const NvidiaGroup&) = delete;
    ~NvidiaGroup();

    const std::vector<std::shared_ptr<NvidiaGPU>>& gpus() const { return gpus_; }

private:
    std::vector<std::shared_ptr<NvidiaGPU>> gpus_;
};
}
