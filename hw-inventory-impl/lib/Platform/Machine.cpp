#include "hw-inventory-impl/lib/Platform/Machine.h"

namespace HardwareInventory::Platform
{
std::unique_ptr<ManagementSource> connectManagementSource(const std::wstring& namespacePath)
{
    return machine().connectManagementSource(namespacePath);
}

Result<std::unique_ptr<ManagementSource>, LastError> connectOptionalSource(const std::wstring& namespacePath)
{
    return machine().connectOptionalSource(namespacePath);
}

Result<std::wstring, Failure<RegistryStep>> registryString(RegistryRoot root, const std::wstring& keyPath,
                                                           const std::wstring& valueName)
{
    return machine().registryString(root, keyPath, valueName);
}

DomainController domainController()
{
    return machine().domainController();
}

Result<std::wstring, LastError> localeInfo(std::uint32_t locale, LocalePart part)
{
    return machine().localeInfo(locale, part);
}

Result<std::uint64_t, LastError> totalPhysicalMemory()
{
    return machine().totalPhysicalMemory();
}

Result<bool, Failure<TrimStep>> trimEnabled(const std::wstring& drivePath)
{
    return machine().trimEnabled(drivePath);
}

Result<DeviceLocation, Failure<DeviceSetupStep>> deviceLocation(const std::wstring& instanceId)
{
    return machine().deviceLocation(instanceId);
}

std::uint32_t enumerateFirmwareTables(std::uint32_t provider)
{
    return machine().enumerateFirmwareTables(provider);
}

Result<std::vector<std::uint8_t>, FirmwareStep> firmwareTable(std::uint32_t provider, std::uint32_t table)
{
    return machine().firmwareTable(provider, table);
}

ModuleHandle loadModule(const wchar_t* name)
{
    return machine().loadModule(name);
}

void* findProcedure(ModuleHandle module, const char* name)
{
    return machine().findProcedure(module, name);
}

void freeModule(ModuleHandle module)
{
    machine().freeModule(module);
}

std::int32_t vmType()
{
    return machine().vmType();
}

bool isVirtual(std::int32_t type)
{
    return machine().isVirtual(type);
}
}
