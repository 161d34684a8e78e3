#pragma once

#include "hw-inventory-impl/lib/GPU/GPUException.h"
#include "hw-inventory-impl/lib/GPU/IGPU.h"
#include "hw-inventory-impl/lib/Records.h"

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace HardwareInventory
{
class AMDGroup;
class NvidiaGroup;

// Refreshes the vendors' libraries and sets the temperature of each known adapter, and its serial number if missing. Adapters are
// matched by the exact text of the PCI address. A missing library is a warning, once per process.
void completeFromVendorLibraries(std::vector<GpuInfo>& gpus);

// The adapters of both vendors' libraries by PCI address. A vendor whose library cannot be used contributes none.
class GpuVendorRegistry
{
public:
    GpuVendorRegistry();
    GpuVendorRegistry(const GpuVendorRegistry&) = delete;
    GpuVendorRegistry& operator=(const GpuVendorRegistry&) = delete;

    // Built on first use, or on the next one if that throws; destroyed when the process ends. The set of adapters never changes.
    static GpuVendorRegistry& instance();

    // One warning for each vendor that failed, on the first call.
    void logFailures();

    void refreshAll();

    // Null for the empty address and for an unknown one. Case counts.
    const IGPU* find(const std::wstring& pciAddress) const;

private:
    void add(IGPU& gpu);

    // Nvidia's group is declared last and so destroyed first: its functions are called while its library is still loaded.
    std::shared_ptr<AMDGroup> amd_;
    std::shared_ptr<NvidiaGroup> nvidia_;
    std::unordered_map<std::wstring, IGPU*> gpus_;
    std::optional<AMDException> amdFailure_;
    std::optional<NvidiaException> nvidiaFailure_;
};
}
