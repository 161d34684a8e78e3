#pragma once

#include "hw-inventory-impl/lib/Platform/ManagementSource.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/Result.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// What the inventory asks of the machine and of its process. The facts of the machine come from machine() (Machine.h), the services
// of the process from the platform's own files. An operation asks the system once and returns the value, or the step that failed
// and its number. It never logs or decides, and only connecting to WMI throws.
namespace HardwareInventory::Platform
{
// The step of an operation that failed, and the system's number for it.
template <class Step>
struct Failure
{
    Step step;
    std::uint32_t code;
};

// An operation of one step fails with the last OS error alone.
using ZelStdCore::LastError;
using ZelStdCore::Result;

// Connects the calling thread to a WMI namespace. Throws ErrorHandling::Exception with one of the connection's codes.
using Providers::WMIProvider::ManagementSource;
std::unique_ptr<ManagementSource> connectManagementSource(const std::wstring& namespacePath);

// The same for a namespace that a system may lack: the error of a failure to bind it is returned instead of thrown.
Result<std::unique_ptr<ManagementSource>, LastError> connectOptionalSource(const std::wstring& namespacePath);

enum class RegistryRoot
{
    localMachine
};

enum class RegistryStep
{
    openKey,
    valueSize,
    value
};

// A string value, without its terminating zero.
Result<std::wstring, Failure<RegistryStep>> registryString(RegistryRoot root, const std::wstring& keyPath,
                                                           const std::wstring& valueName);

// The domain controller of the local machine's primary domain: the lookup's status, and, when that is 0, the name with its two
// leading backslashes and the status of giving its buffer back.
struct DomainController
{
    std::uint32_t status = 0;
    std::wstring name;
    std::uint32_t freeStatus = 0;
};
DomainController domainController();

enum class LocalePart
{
    language, // ISO 639
    country   // ISO 3166
};

constexpr std::uint32_t kSystemDefaultLocale = 0x0800;

// At most eight characters.
Result<std::wstring, LastError> localeInfo(std::uint32_t locale, LocalePart part);

// Total physical memory in bytes.
Result<std::uint64_t, LastError> totalPhysicalMemory();

enum class TrimStep
{
    openDrive,
    query
};

// Whether the storage driver reports TRIM for the drive (a path such as \\.\PHYSICALDRIVE0).
Result<bool, Failure<TrimStep>> trimEnabled(const std::wstring& drivePath);

enum class DeviceSetupStep
{
    deviceSet,
    element,
    busNumber,
    address
};

struct DeviceLocation
{
    std::uint32_t busNumber; // bits 0 to 7 the bus, bits 8 to 23 the PCI domain
    std::uint32_t address;   // bits 16 to 31 the device, bits 0 to 15 the function
};

// Where SetupAPI places a device, by its plug-and-play instance identifier.
Result<DeviceLocation, Failure<DeviceSetupStep>> deviceLocation(const std::wstring& instanceId);

// Bytes needed for the identifiers of a provider's firmware tables; 0 when there is no such provider.
std::uint32_t enumerateFirmwareTables(std::uint32_t provider);

enum class FirmwareStep
{
    size,
    read // or the table has outgrown the size since
};

// The bytes of a firmware table, at least one.
Result<std::vector<std::uint8_t>, FirmwareStep> firmwareTable(std::uint32_t provider, std::uint32_t table);

// A vendor's management library, loaded from the system folder alone; a module of that name that the process has loaded already
// is used. Null when there is none.
using ModuleHandle = void*;
ModuleHandle loadModule(const wchar_t* name);
void* findProcedure(ModuleHandle module, const char* name); // null for a null module
void freeModule(ModuleHandle module);                       // ignores null

// The type of virtual machine that the VM detection library (vm-detect/vm_detect.h) reports, and whether it counts the type as one.
std::int32_t vmType();
bool isVirtual(std::int32_t type);

// True once the process has begun to end: nothing outside this library may be released then.
bool processIsTerminating();

// One pointer per thread. The destroy function is called with it when the thread ends, without the loader lock, and not at all
// when the process is terminating. It must still be there: the library is pinned. False if there is no slot.
// A value that a fiber keeps is destroyed when the fiber is deleted on the same thread; a fiber that is deleted on another thread
// leaves it to its thread, which uses it until it ends and does not destroy it.
void* threadValue();
bool keepForThread(void* value, void (*destroy)(void*));
std::uint32_t currentThreadId();
}
