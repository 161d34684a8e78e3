#include "hw-inventory-impl/lib/GPU/GpuVendorRegistry.h"

#include "hw-inventory-impl/lib/GPU/AMDGroup.h"
#include "hw-inventory-impl/lib/GPU/NvidiaGroup.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Utf8.h"

#include <utility>

namespace HardwareInventory
{
using ZelStdCore::logWarning;
using ZelStdCore::widen;

GpuVendorRegistry::GpuVendorRegistry()
{
    try
    {
        amd_ = std::make_shared<AMDGroup>();
        for (const auto& gpu : amd_->gpus())
            add(*gpu);
    }
    catch (const AMDException& error)
    {
        amdFailure_ = error;
    }

    try
    {
        nvidia_ = std::make_shared<NvidiaGroup>();
        for (const auto& gpu : nvidia_->gpus())
            add(*gpu);
    }
    catch (const NvidiaException& error)
    {
        nvidiaFailure_ = error;
    }
}

GpuVendorRegistry& GpuVendorRegistry::instance()
{
    // Nothing is logged while the registry is built: the host's callback may collect again, which would deadlock.
    static GpuVendorRegistry registry;
    registry.logFailures();
    return registry;
}

void GpuVendorRegistry::logFailures()
{
    if (const auto failure = std::exchange(amdFailure_, std::nullopt))
        logWarning(L"error retrieving AMD information: %1%", failure->what());
    if (const auto failure = std::exchange(nvidiaFailure_, std::nullopt))
        logWarning(L"error retrieving Nvidia information: %1%", failure->what());
}

void GpuVendorRegistry::refreshAll()
{
    for (const auto& entry : gpus_)
        entry.second->update();
}

const IGPU* GpuVendorRegistry::find(const std::wstring& pciAddress) const
{
    // Adapters without an address in their library must not match records that Windows could not place.
    if (pciAddress.empty())
        return nullptr;
    const auto entry = gpus_.find(pciAddress);
    return entry == gpus_.end() ? nullptr : entry->second;
}

// A later adapter of the same address replaces the earlier one.
void GpuVendorRegistry::add(IGPU& gpu)
{
    gpus_[widen(gpu.pciAddress())] = &gpu;
}

void completeFromVendorLibraries(std::vector<GpuInfo>& gpus)
{
    GpuVendorRegistry& registry = GpuVendorRegistry::instance();
    registry.refreshAll();
    for (GpuInfo& gpu : gpus)
    {
        const IGPU* const adapter = registry.find(gpu.pciAddress);
        if (!adapter)
            continue;
        gpu.temperature = adapter->temperature();
        if (gpu.serialNumber.empty())
            gpu.serialNumber = widen(adapter->serial());
    }
}
}
