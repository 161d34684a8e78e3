#include "tests/fakes/FakeMachine.h"

#include "st-core/lib/HostLogger.h"
#include "vm-detect/vm_detect.h"

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
using fakes::machine;

extern "C" int32_t VmProbe_GetHostVMType(void)
{
    callFails("VmProbe_GetHostVMType");
    return machine().vmType;
}

extern "C" int32_t VmProbe_IsHostVirtual(int32_t type)
{
    callFails("VmProbe_IsHostVirtual");
    return type >= 1 && type <= 25;
}

namespace HardwareInventory::Platform
{
Result<std::wstring, Failure<RegistryStep>> registryString(RegistryRoot, const std::wstring& keyPath, const std::wstring& valueName)
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

DomainController domainController()
{
    if (callFails("NetGetDCName"))
        return {5, L"", 0};
    DomainController answer = machine().domain;
    if (answer.status == 0 && callFails("NetApiBufferFree"))
        answer.freeStatus = 5;
    return answer;
}

Result<std::wstring, LastError> localeInfo(std::uint32_t, LocalePart part)
{
    if (callFails("GetLocaleInfoW"))
        return LastError{5};
    return machine().locale[part];
}

Result<std::uint64_t, LastError> totalPhysicalMemory()
{
    if (callFails("GlobalMemoryStatusEx"))
        return LastError{5};
    return machine().physicalMemory;
}

Result<bool, Failure<TrimStep>> trimEnabled(const std::wstring& drivePath)
{
    const auto drive = machine().trim.find(drivePath);
    if (callFails("CreateFileW(drive)") || drive == machine().trim.end())
        return Failure<TrimStep>{TrimStep::openDrive, 5};
    if (callFails("DeviceIoControl"))
        return Failure<TrimStep>{TrimStep::query, 1};
    return drive->second;
}

Result<DeviceLocation, Failure<DeviceSetupStep>> deviceLocation(const std::wstring& instanceId)
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

std::uint32_t enumerateFirmwareTables(std::uint32_t)
{
    return callFails("EnumSystemFirmwareTables") || machine().smbiosTable.empty() ? 0 : 4;
}

std::uint32_t firmwareTable(std::uint32_t, std::uint32_t, void* buffer, std::uint32_t size)
{
    const auto& table = machine().smbiosTable;
    if (callFails(buffer ? "GetSystemFirmwareTable" : "GetSystemFirmwareTable(size)"))
        return 0;
    if (buffer && size >= table.size())
        std::memcpy(buffer, table.data(), table.size());
    return static_cast<std::uint32_t>(table.size());
}

ModuleHandle loadModule(const wchar_t* name)
{
    const auto module = machine().modules.find(name);
    return callFails("LoadLibraryExW") || module == machine().modules.end() ? nullptr : &*module;
}

void* findProcedure(ModuleHandle module, const char* name)
{
    if (callFails("GetProcAddress") || !module)
        return nullptr;
    const auto& procedures = static_cast<decltype(machine().modules)::value_type*>(module)->second;
    const auto procedure = procedures.find(name);
    return procedure == procedures.end() ? nullptr : procedure->second;
}

void freeModule(ModuleHandle module)
{
    if (module)
        machine().freedModules.push_back(static_cast<decltype(machine().modules)::value_type*>(module)->first);
}

bool processIsTerminating()
{
    return machine().terminating;
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
        if (value && !machine().terminating)
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
