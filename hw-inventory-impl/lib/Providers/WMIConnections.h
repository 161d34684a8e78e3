#pragma once

#include "hw-inventory-impl/lib/Platform/ManagementSource.h"
#include "hw-inventory-impl/lib/Records.h"

#include <memory>
#include <string>
#include <vector>

namespace HardwareInventory::Providers::WMIProvider
{
// A thread's connections to WMI, and the readers of its classes. A reader throws if a query fails. A property that cannot be read
// logs a warning and yields a neutral value.
class WMIConnections
{
public:
    // Connects to ROOT\CIMV2, which is required, and to ROOT\StandardCIMV2, which is not.
    WMIConnections();
    ~WMIConnections();

    // The calling thread's connections, made on its first call and destroyed when the thread ends. After a failure the next call
    // tries again. If the host's logging callback calls this during the first call, both calls get the inner one's connections.
    static WMIConnections& forThisThread();

    std::vector<CpuInfo> getProcessors();
    std::vector<MotherBoardInfo> getBaseBoards();
    std::vector<GpuInfo> getVideoControllers();
    std::vector<RamInfo> getMemory(); // one emulated module on a virtual machine, none on a physical one; runs no query
    std::vector<DiskInfo> getDisks();
    std::vector<NetworkAdapterInfo> getNetworkAdapters();
    SystemInfo getSystem();
    std::vector<HotfixInfo> getHotfixes();

private:
    explicit WMIConnections(std::unique_ptr<ManagementSource> cimv2);

    bool endsWithThread_ = false;
    std::unique_ptr<ManagementSource> cimv2_;
    std::unique_ptr<ManagementSource> standardCimv2_; // empty if the namespace could not be bound; destroyed first
};
}
