#pragma once

#include "hw-inventory-impl/lib/Platform/Machine.h"
#include "machine/Recording.h"

namespace HardwareInventory::Platform
{
// Passes every question on to another machine and notes the answers.
class RecordingMachine final : public Machine
{
public:
    RecordingMachine(Machine& real, Recording& recording);

    std::unique_ptr<ManagementSource> connectManagementSource(const std::wstring& namespacePath) override;
    Result<std::unique_ptr<ManagementSource>, LastError> connectOptionalSource(const std::wstring& namespacePath) override;
    Result<std::wstring, Failure<RegistryStep>> registryString(RegistryRoot root, const std::wstring& keyPath,
                                                               const std::wstring& valueName) override;
    DomainController domainController() override;
    Result<std::wstring, LastError> localeInfo(std::uint32_t locale, LocalePart part) override;
    Result<std::uint64_t, LastError> totalPhysicalMemory() override;
    Result<bool, Failure<TrimStep>> trimEnabled(const std::wstring& drivePath) override;
    Result<DeviceLocation, Failure<DeviceSetupStep>> deviceLocation(const std::wstring& instanceId) override;
    std::uint32_t enumerateFirmwareTables(std::uint32_t provider) override;
    Result<std::vector<std::uint8_t>, FirmwareStep> firmwareTable(std::uint32_t provider, std::uint32_t table) override;
    ModuleHandle loadModule(const wchar_t* name) override;
    void* findProcedure(ModuleHandle module, const char* name) override;
    void freeModule(ModuleHandle module) override;
    std::int32_t vmType() override;
    bool isVirtual(std::int32_t type) override;

private:
    template <class Answer>
    Answer noted(const std::string& question, Answer answer);

    Machine& real_;
    Recording& recording_;
};
}
