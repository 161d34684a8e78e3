#include "hw-inventory-impl/lib/Providers/WMIConnections.h"

#include "hw-inventory-impl/lib/NameTable.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/Providers/Properties.h"
#include "hw-inventory-impl/lib/VirtualMachine.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/Text.h"

#include <array>

namespace HardwareInventory::Providers::WMIProvider
{
namespace
{
using Platform::LocalePart;
using Platform::RegistryRoot;
using Platform::RegistryStep;

// By "PCSystemTypeEx"
constexpr auto kSystemTypes = std::to_array<const wchar_t*>({
    L"Unspecified",
    L"Desktop",
    L"Mobile",
    L"Workstation",
    L"Enterprise Server",
    L"SOHO Server",
    L"Appliance PC",
    L"Performance Server",
    L"Maximum",
});
static_assert(kSystemTypes.size() == 9);

std::wstring composeBiosVersion(const ManagementObject& bios)
{
    std::wstring version = getString(bios, L"Manufacturer");
    if (!version.empty())
        version += L" ";
    version += getString(bios, L"SMBIOSBIOSVersion");
    if (!version.empty())
        version += L", ";
    return version + ZelStdCore::timeToString(getDateTime(bios, L"ReleaseDate"), L"%m/%d/%Y");
}

void readBios(const ManagementObject& bios, SystemInfo& system)
{
    system.biosVersion = composeBiosVersion(bios);
    if (!isHostVirtual())
        read(bios, L"SerialNumber", system.serialNumber);
}

void readComputerSystem(const ManagementObject& computer, SystemInfo& system)
{
    read(computer, L"Name", system.machineName);
    read(computer, L"PrimaryOwnerName", system.owner);
    read(computer, L"Manufacturer", system.manufacturer);
    read(computer, L"Model", system.model);
    read(computer, L"Domain", system.domain);
    system.type = nameOf(kSystemTypes, getInt(computer, L"PCSystemTypeEx"));
}

void readOperatingSystem(const ManagementObject& os, SystemInfo& system)
{
    // The caption, the system's directory and the boot partition, between bars
    system.osInfo.name = ZelStdCore::split(getString(os, L"Name"), L"|").front();
    read(os, L"Version", system.osInfo.version);
    read(os, L"Manufacturer", system.osInfo.manufacturer);
    read(os, L"BuildType", system.osInfo.buildType);
    read(os, L"LastBootUpTime", system.bootTime);
    read(os, L"InstallDate", system.installationDate);
    read(os, L"WindowsDirectory", system.windowsDirectory);
    read(os, L"SystemDirectory", system.systemDirectory);
    read(os, L"BootDevice", system.bootDevice);
    read(os, L"Organization", system.organization);
}

// Empty, with a warning, when the value cannot be read.
std::wstring readRegistryString(RegistryRoot root, const std::wstring& keyPath, const std::wstring& valueName)
{
    const auto answer = Platform::registryString(root, keyPath, valueName);
    if (const std::wstring* text = std::get_if<std::wstring>(&answer))
        return *text;

    const auto& failure = std::get<Platform::Failure<RegistryStep>>(answer);
    switch (failure.step)
    {
    case RegistryStep::openKey:
        ZelStdCore::logWarning(L"failed to open \"%s\" key: status=%d", keyPath, failure.code);
        break;
    case RegistryStep::valueSize:
        ZelStdCore::logWarning(L"failed to get \"%s\\%s\" string length: status=%d", keyPath, valueName, failure.code);
        break;
    case RegistryStep::value:
        ZelStdCore::logWarning(L"failed to get \"%s\\%s\" value: status=%d", keyPath, valueName, failure.code);
        break;
    }
    return {};
}

// "DisplayVersion" came with Windows 10 20H2.
std::wstring readReleaseId()
{
    const std::wstring key = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
    const std::wstring version = readRegistryString(RegistryRoot::localMachine, key, L"DisplayVersion");
    return version.empty() ? readRegistryString(RegistryRoot::localMachine, key, L"ReleaseId") : version;
}

void findLogonServer(SystemInfo& system)
{
    const auto controller = Platform::domainController();
    if (controller.status != 0)
        ZelStdCore::logWarning(L"failed to find domain controller of the machine: %1%", controller.status);
    else
        system.logonServer = controller.name;
    if (controller.freeStatus != 0)
        ZelStdCore::logWarning(L"failed to free domain controller buffer: %1%", controller.freeStatus);

    // Without a controller, what the computer system class called the domain is the workgroup.
    if (system.logonServer.empty())
    {
        system.domain.clear();
        system.logonServer = L"-";
    }
}

// "language-COUNTRY"; empty, with a warning, when either is not known.
std::wstring getLocaleName(std::uint32_t locale)
{
    const auto language = Platform::localeInfo(locale, LocalePart::language);
    if (const auto* error = std::get_if<Platform::ErrorNumber>(&language))
    {
        ZelStdCore::logWarning(L"failed to get %x locale language: %s", locale, ZelStdCore::LastError{error->code}.text());
        return {};
    }
    const auto country = Platform::localeInfo(locale, LocalePart::country);
    if (const auto* error = std::get_if<Platform::ErrorNumber>(&country))
    {
        ZelStdCore::logWarning(L"failed to get %x locale country: %s", locale, ZelStdCore::LastError{error->code}.text());
        return {};
    }
    return std::get<std::wstring>(language) + L"-" + std::get<std::wstring>(country);
}
}

SystemInfo WMIConnections::getSystem()
{
    SystemInfo system;
    cimv2_->query(L"SELECT * FROM Win32_BIOS", [&](const ManagementObjectPtr& bios) { readBios(*bios, system); });
    cimv2_->query(L"SELECT * FROM Win32_ComputerSystem",
                  [&](const ManagementObjectPtr& computer) { readComputerSystem(*computer, system); });
    cimv2_->query(L"SELECT * FROM Win32_OperatingSystem", [&](const ManagementObjectPtr& os) { readOperatingSystem(*os, system); });
    if (!isHostVirtual())
    {
        cimv2_->query(L"SELECT * FROM Win32_ComputerSystemProduct",
                      [&](const ManagementObjectPtr& product) { read(*product, L"Name", system.productID); });
    }
    cimv2_->query(L"SELECT * FROM Win32_Timezone",
                  [&](const ManagementObjectPtr& zone) { read(*zone, L"Caption", system.timezone); });

    system.osInfo.releaseId = readReleaseId();
    findLogonServer(system);
    system.systemLocale = getLocaleName(Platform::kSystemDefaultLocale);
    return system;
}

std::vector<HotfixInfo> WMIConnections::getHotfixes()
{
    std::vector<HotfixInfo> hotfixes;
    cimv2_->query(L"SELECT * FROM Win32_QuickFixEngineering",
                  [&](const ManagementObjectPtr& hotfix)
                  {
                      HotfixInfo& info = hotfixes.emplace_back();
                      read(*hotfix, L"HotFixID", info.name);
                      read(*hotfix, L"InstalledOn", info.installationDate);
                  });
    return hotfixes;
}
}
