#include "tests/fakes/FakeMachine.h"

#include "hw-inventory-impl/lib/Platform/Machine.h"
#include "st-core/lib/HostLogger.h"
#include "tests/fakes/FakeManagementSource.h"

#include <algorithm>
#include <cstring>

namespace fakes
{
FakeMachine& machine()
{
    static auto& instance = *new FakeMachine;
    return instance;
}

bool callFails(const char* operation)
{
    machine().calls.emplace_back(operation);
    const bool fails = machine().fails(operation);
    if (fails)
        machine().lastError = 5;
    return fails;
}

namespace
{
LogCapture::Lines& capturedLines()
{
    static auto& lines = *new LogCapture::Lines;
    return lines;
}
}

LogCapture::LogCapture()
{
    capturedLines().clear();
    ZelStdCore::HostLogger::instance().set([](std::uint32_t level, const char* message)
                                           { capturedLines().emplace_back(level, message); });
}

LogCapture::~LogCapture()
{
    ZelStdCore::HostLogger::instance().set(nullptr);
}

const LogCapture::Lines& LogCapture::lines() const
{
    return capturedLines();
}

bool LogCapture::contains(std::uint32_t level, const std::string& message) const
{
    return std::ranges::find(capturedLines(), std::pair(level, message)) != capturedLines().end();
}

void LogCapture::clear()
{
    capturedLines().clear();
}
}

using fakes::callFails;
namespace fakes
{
namespace
{
struct MachineOfTheTest final : Machine
{
    std::unique_ptr<ManagementSource> connectManagementSource(const std::wstring& namespacePath) override
    {
        return fakes::connectManagementSource(namespacePath);
    }

    Result<std::unique_ptr<ManagementSource>, LastError> connectOptionalSource(const std::wstring& namespacePath) override
    {
        return fakes::connectOptionalSource(namespacePath);
    }

    Result<std::wstring, Failure<RegistryStep>> registryString(RegistryRoot, const std::wstring& keyPath,
                                                               const std::wstring& valueName) override
    {
        if (callFails("RegOpenKeyW"))
            return Failure<RegistryStep>{RegistryStep::openKey, 5};
        const auto value = machine().registry.find(keyPath + L"\\" + valueName);
        if (callFails("RegQueryValueExW(size)") || value == machine().registry.end())
            return Failure<RegistryStep>{RegistryStep::valueSize, 2};
        if (callFails("RegQueryValueExW"))
            return Failure<RegistryStep>{RegistryStep::value, 234};
        return value->second;
    }

    DomainController domainController() override
    {
        if (callFails("NetGetDCName"))
            return {5, L"", 0};
        DomainController answer = machine().domain;
        if (answer.status == 0 && callFails("NetApiBufferFree"))
            answer.freeStatus = 5;
        return answer;
    }

    Result<std::wstring, LastError> localeInfo(std::uint32_t, LocalePart part) override
    {
        if (callFails("GetLocaleInfoW"))
            return LastError{5};
        return machine().locale[part];
    }

    Result<std::uint64_t, LastError> totalPhysicalMemory() override
    {
        if (callFails("GlobalMemoryStatusEx"))
            return LastError{5};
        return machine().physicalMemory;
    }

    Result<bool, Failure<TrimStep>> trimEnabled(const std::wstring& drivePath) override
    {
        const auto drive = machine().trim.find(drivePath);
        if (callFails("CreateFileW(drive)") || drive == machine().trim.end())
            return Failure<TrimStep>{TrimStep::openDrive, 5};
        if (callFails("DeviceIoControl"))
            return Failure<TrimStep>{TrimStep::query, 1};
        return drive->second;
    }

    Result<DeviceLocation, Failure<DeviceSetupStep>> deviceLocation(const std::wstring& instanceId) override
    {
        const auto device = machine().locations.find(instanceId);
        if (callFails("SetupDiGetClassDevsW"))
            return Failure<DeviceSetupStep>{DeviceSetupStep::deviceSet, 13};
        if (callFails("SetupDiEnumDeviceInfo") || device == machine().locations.end())
            return Failure<DeviceSetupStep>{DeviceSetupStep::element, 259};
        if (callFails("SetupDiGetDeviceRegistryPropertyA(bus)"))
            return Failure<DeviceSetupStep>{DeviceSetupStep::busNumber, 13};
        if (callFails("SetupDiGetDeviceRegistryPropertyA(address)"))
            return Failure<DeviceSetupStep>{DeviceSetupStep::address, 13};
        return device->second;
    }

    std::uint32_t enumerateFirmwareTables(std::uint32_t) override
    {
        return callFails("EnumSystemFirmwareTables") || machine().smbiosTable.empty() ? 0 : 4;
    }

    Result<std::vector<std::uint8_t>, FirmwareStep> firmwareTable(std::uint32_t, std::uint32_t) override
    {
        if (callFails("GetSystemFirmwareTable(size)") || machine().smbiosTable.empty())
            return FirmwareStep::size;
        if (callFails("GetSystemFirmwareTable"))
            return FirmwareStep::read;
        return machine().smbiosTable;
    }

    ModuleHandle loadModule(const wchar_t* name) override
    {
        const auto module = machine().modules.find(name);
        return callFails("LoadLibraryExW") || module == machine().modules.end() ? nullptr : &*module;
    }

    void* findProcedure(ModuleHandle module, const char* name) override
    {
        if (callFails("GetProcAddress") || !module)
            return nullptr;
        const auto& procedures = static_cast<decltype(machine().modules)::value_type*>(module)->second;
        const auto procedure = procedures.find(name);
        return procedure == procedures.end() ? nullptr : procedure->second;
    }

    void freeModule(ModuleHandle module) override
    {
        if (module)
            machine().freedModules.push_back(static_cast<decltype(machine().modules)::value_type*>(module)->first);
    }

    std::int32_t vmType() override
    {
        callFails("VmProbe_GetHostVMType");
        return machine().vmType;
    }

    bool isVirtual(std::int32_t type) override
    {
        callFails("VmProbe_IsHostVirtual");
        return type >= 1 && type <= 25;
    }
};
}
}

namespace HardwareInventory::Platform
{
Machine& machine()
{
    static fakes::MachineOfTheTest theMachine;
    return theMachine;
}

bool processIsTerminating()
{
    return fakes::machine().terminating;
}

namespace
{
// Destroyed with its thread, as the product's slot is.
struct ThreadSlot
{
    void* value = nullptr;
    void (*destroy)(void*) = nullptr;
    ~ThreadSlot()
    {
        if (value && !fakes::machine().terminating)
            destroy(value);
    }
};
thread_local ThreadSlot slot;
}

void* threadValue()
{
    return slot.value;
}

bool keepForThread(void* value, void (*destroy)(void*))
{
    if (callFails("FlsSetValue"))
        return false;
    slot.value = value;
    slot.destroy = destroy;
    return true;
}

std::uint32_t currentThreadId()
{
    static std::uint32_t last = 0;
    thread_local const std::uint32_t id = ++last;
    return id;
}
}
