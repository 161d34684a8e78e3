#pragma once

#include "hw-inventory-impl/lib/Providers/ComPointer.h"
#include "hw-inventory-impl/lib/Providers/ManagementSource.h"

#include <windows.h>

#include <wbemcli.h>

#include <optional>

namespace HardwareInventory::Providers::WMIProvider
{
// A thread's membership in an apartment of COM.
class ApartmentMembership
{
public:
    ApartmentMembership() = default;
    ApartmentMembership(const ApartmentMembership&) = delete;
    ~ApartmentMembership();

    // Joins the multithreaded apartment. What was joined is left on destruction; a thread of another apartment stays as it is.
    HRESULT join();

    // Remembers the apartment. From now on COM is left on destruction even where the thread was in another apartment.
    void stay();

    // Leaves at once what was joined, and nothing on destruction.
    void leave();

    // Whether the host has closed the apartment that was remembered. Another one of its kind, entered since, passes for it.
    bool isGone() const;

private:
    bool joined_ = false;
    bool leavesAlways_ = false;
    std::optional<APTTYPE> type_;
};

// A connection to one namespace of the management service through COM. Used and destroyed on the thread that made it.
class WMIConnection final : public ManagementSource
{
public:
    WMIConnection(const std::wstring& namespacePath, ZelStdCore::Trace bindTrace);
    ~WMIConnection() override;

    void query(const std::wstring& wql, const ObjectCallback& callback) override;
    void release() override;
    void disconnect() override;

private:
    void releaseInterfaces();

    ApartmentMembership apartment_;
    ComPointer<IWbemLocator> locator_;
    ComPointer<IWbemServices> services_;
};
}
