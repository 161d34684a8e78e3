#pragma once

#include "hw-inventory-impl/lib/Platform/ManagementSource.h"
#include "hw-inventory-impl/lib/Providers/ComPointer.h"

#include <windows.h>

#include <wbemcli.h>

#include <utility>

namespace HardwareInventory::Providers::WMIProvider
{
// A result object of WMI. Owns one reference to the COM object.
class WMIObject final : public ManagementObject
{
public:
    explicit WMIObject(ComPointer<IWbemClassObject> object) : object_(std::move(object)) {}

    const void* address() const override { return object_.get(); }
    PropertyValue get(const wchar_t* property) const override;
    std::optional<bool> getBool(const wchar_t* property) const override;
    ZelStdCore::Result<std::vector<std::wstring>, ArrayFailure> getStringArray(const wchar_t* property) const override;

private:
    ComPointer<IWbemClassObject> object_;
};
}
