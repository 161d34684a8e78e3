#pragma once

#include "hw-inventory-impl/lib/Platform/ManagementSource.h"
#include "hw-inventory-impl/lib/Providers/ComPointer.h"
#include "st-core/lib/LastError.h"

#include <windows.h>

#include <wbemcli.h>

#include <optional>

namespace HardwareInventory::Providers::WMIProvider
{
// A thread's membership in a COM apartment.
class ApartmentMembership
{
public:
    ApartmentMembership() = default;
    ApartmentMembership(const ApartmentMembership&) = delete;
    ~ApartmentMembership();

    // Joins the multithreaded apartment; the destructor leaves it. A thread of another apartment stays there.
    HRESULT join();

    // Stores the thread's apartment type. From now on the destructor leaves COM, even if the thread was in another apartment.
    void stay();

    // Leaves the apartment now, if joined. The destructor then does nothing.
    void leave();

    // Whether the host has closed the stored apartment. One of the same type, entered since, passes for it.
    bool isGone() const;

private:
    bool joined_ = false;
    bool leavesAlways_ = false;
    std::optional<APTTYPE> type_;
};

// A connection to one WMI namespace through COM. Used and destroyed on the thread that made it.
class WMIConnection final : public ManagementSource
{
public:
    // Joins COM and creates the locator.
    WMIConnection();

    // Binds as well.
    explicit WMIConnection(const std::wstring& namespacePath);
    ~WMIConnection() override;

    // The OS error where the namespace cannot be bound; any other failure is thrown.
    std::optional<ZelStdCore::LastError> bind(const std::wstring& namespacePath);

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
