#include "machine/NativeMachine.h"

#include "machine/LinuxSmbios.h"
#include "machine/Questions.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>

namespace HardwareInventory::Platform
{
namespace
{
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kNoDomain = 1355;

Bytes bytesOf(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Bytes smbiosTable()
{
    return rawSmbiosTable(bytesOf("/sys/firmware/dmi/tables/smbios_entry_point"), bytesOf("/sys/firmware/dmi/tables/DMI"));
}

// Without WMI no class has an object.
class NoObjects final : public ManagementSource
{
public:
    void query(const std::wstring&, const Providers::WMIProvider::ObjectCallback&) override {}
    void release() override {}
    void disconnect() override {}
};

// Linux answers for its memory, its firmware and Nvidia's library. All else is absent.
class LinuxMachine final : public Machine
{
public:
    std::unique_ptr<ManagementSource> connectManagementSource(const std::wstring&) override
    {
        return std::make_unique<NoObjects>();
    }
    Result<std::unique_ptr<ManagementSource>, LastError> connectOptionalSource(const std::wstring&) override
    {
        return LastError{ENOENT};
    }
    Result<std::wstring, Failure<RegistryStep>> registryString(RegistryRoot, const std::wstring&, const std::wstring&) override
    {
        return Failure<RegistryStep>{RegistryStep::openKey, ENOENT};
    }
    DomainController domainController() override { return {kNoDomain, L"", 0}; }
    Result<std::wstring, LastError> localeInfo(std::uint32_t, LocalePart) override { return LastError{ENOENT}; }
    Result<std::uint64_t, LastError> totalPhysicalMemory() override
    {
        return static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::uint64_t>(sysconf(_SC_PAGE_SIZE));
    }
    Result<bool, Failure<TrimStep>> trimEnabled(const std::wstring&) override
    {
        return Failure<TrimStep>{TrimStep::openDrive, ENOENT};
    }
    Result<DeviceLocation, Failure<DeviceSetupStep>> deviceLocation(const std::wstring&) override
    {
        return Failure<DeviceSetupStep>{DeviceSetupStep::element, ENOENT};
    }
    std::uint32_t enumerateFirmwareTables(std::uint32_t provider) override
    {
        return provider == Questions::kSmbiosProvider && !smbiosTable().empty() ? sizeof provider : 0;
    }
    Result<Bytes, FirmwareStep> firmwareTable(std::uint32_t, std::uint32_t) override
    {
        Bytes table = smbiosTable();
        if (table.empty())
            return FirmwareStep::size;
        return table;
    }
    ModuleHandle loadModule(const wchar_t* name) override
    {
        return name == std::wstring_view(L"nvml.dll") ? dlopen("libnvidia-ml.so.1", RTLD_NOW) : nullptr;
    }
    void* findProcedure(ModuleHandle module, const char* name) override { return module ? dlsym(module, name) : nullptr; }
    void freeModule(ModuleHandle module) override
    {
        if (module)
            dlclose(module);
    }
    std::int32_t vmType() override { return 0; }
    bool isVirtual(std::int32_t) override { return false; }
};
}

Machine& nativeMachine()
{
    static LinuxMachine thisMachine;
    return thisMachine;
}
}
