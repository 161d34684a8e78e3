#include "hw-inventory-impl/lib/Providers/WMIConnections.h"

#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "st-core/lib/HostLogger.h"

#include <stdexcept>
#include <utility>

using ZelStdCore::HostLogger;

namespace HardwareInventory::Providers::WMIProvider
{
namespace
{
// Windows before version 8 has no such namespace.
std::unique_ptr<ManagementSource> connectStandardCimv2()
{
    auto source = Platform::connectOptionalSource(L"ROOT\\StandardCIMV2");
    if (source)
        return std::move(source).value();
    // The error is that of the failing call: releasing the connection has overwritten the thread's last error.
    if (HostLogger::instance().enabled())
        ZelStdCore::logWarning(L"failed to bind to ROOT\\StandardCIMV2 WMI namespace: %1% (GetLastError() = %2%)",
                               source.error().text(), source.error().code);
    return nullptr;
}
}

// Delegates, so that a failure of the second connection runs the destructor for the first.
WMIConnections::WMIConnections() : WMIConnections(Platform::connectManagementSource(L"ROOT\\CIMV2"))
{
    standardCimv2_ = connectStandardCimv2();
}

WMIConnections::WMIConnections(std::unique_ptr<ManagementSource> cimv2) : cimv2_(std::move(cimv2))
{
}

WMIConnections::~WMIConnections()
{
    for (ManagementSource* source : {standardCimv2_.get(), cimv2_.get()})
    {
        if (!source)
            continue;
        if (endsWithThread_)
            source->release();
        else
            source->disconnect();
    }
}

WMIConnections& WMIConnections::forThisThread()
{
    if (void* kept = Platform::threadValue())
        return *static_cast<WMIConnections*>(kept);

    auto connections = std::make_unique<WMIConnections>();
    // The host's logging callback may have collected meanwhile.
    if (void* kept = Platform::threadValue())
        return *static_cast<WMIConnections*>(kept);
    if (!Platform::keepForThread(connections.get(), [](void* value) { delete static_cast<WMIConnections*>(value); }))
        throw std::runtime_error("failed to keep the WMI connections of the thread");
    connections->endsWithThread_ = true;
    return *connections.release();
}
}
