#pragma once

#include "hw-inventory-impl/lib/Platform/Platform.h"

namespace HardwareInventory::Platform
{
// The machine behind the questions of Platform.h, whose contracts hold here.
class Machine
{
public:
    virtual std::unique_ptr<ManagementSource> connectManagementSource(const std::wstring& namespacePath) = 0;
    virtual Result<std::unique_ptr<ManagementSource>, LastError> connectOptionalSource(const std::wstring& namespacePath) = 0;
    virtual Result<std::wstring, Failure<RegistryStep>> registryString(RegistryRoot root, const std::wstring& keyPath,
                                                                       const std::wstring& valueName) = 0;
    virtual DomainController domainController() = 0;
    virtual Result<std::wstring, LastError> localeInfo(std::uint32_t locale, LocalePart part) = 0;
    virtual Result<std::uint64_t, LastError> totalPhysicalMemory() = 0;
    virtual Result<bool, Failure<TrimStep>> trimEnabled(const std::wstring& drivePath) = 0;
    virtual Result<DeviceLocation, Failure<DeviceSetupStep>> deviceLocation(const std::wstring& instanceId) = 0;
    virtual std::uint32_t enumerateFirmwareTables(std::uint32_t provider) = 0;
    virtual Result<std::vector<std::uint8_t>, FirmwareStep> firmwareTable(std::uint32_t provider, std::uint32_t table) = 0;
    virtual ModuleHandle loadModule(const wchar_t* name) = 0;
    virtual void* findProcedure(ModuleHandle module, const char* name) = 0;
    virtual void freeModule(ModuleHandle module) = 0;
    virtual std::int32_t vmType() = 0;
    virtual bool isVirtual(std::int32_t type) = 0;

protected:
    ~Machine() = default;
};

// The machine that this binary asks. Each binary defines it: the product with the machine that it runs on.
Machine& machine();
}
