#include "machine/RecordedMachine.h"

#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "machine/Answers.h"
#include "machine/Questions.h"
#include "machine/RecordedWmi.h"
#include "machine/VendorCalls.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/Utf8.h"
#include "vm-detect/HostFacts.h"
#include "vm-detect/Rules.h"

#include <utility>

namespace HardwareInventory::Platform
{
namespace
{
using Bytes = std::vector<std::uint8_t>;

// Of the system: there is no such file, element, key or function.
constexpr std::uint32_t kNotFound = 2;
constexpr std::uint32_t kNoMoreItems = 259;
constexpr std::uint32_t kNoDomain = 1355;

Recording* messages = nullptr;

std::wstring recordedMessage(std::uint32_t code)
{
    const Json* const text = messages->next(Questions::message(code));
    return text ? Answers::read<std::wstring>(*text) : std::wstring();
}

// The modules that were recorded, as handles.
const std::wstring* keepName(const wchar_t* name)
{
    static std::set<std::wstring> names;
    return &*names.insert(name).first;
}
}

RecordedMachine::RecordedMachine(Recording& recording) : recording_(recording)
{
    messages = &recording;
    ZelStdCore::setMessageSource(recordedMessage);
}

template <class Answer>
Answer RecordedMachine::answer(const std::string& question, Answer otherwise)
{
    const Json* const recorded = recording_.next(question);
    return recorded ? Answers::read<Answer>(*recorded) : std::move(otherwise);
}

std::unique_ptr<ManagementSource> RecordedMachine::connectManagementSource(const std::wstring& namespacePath)
{
    auto source = recordedSource(recording_, Questions::kConnect, namespacePath);
    if (source)
        return std::move(source).value();
    throw ErrorHandling::Exception(ErrorHandling::ErrorCode::wmiBind, source.error().text(), L"machine\\RecordedMachine.cpp",
                                   L"HardwareInventory::Platform::RecordedMachine::connectManagementSource", __LINE__);
}

Result<std::unique_ptr<ManagementSource>, LastError> RecordedMachine::connectOptionalSource(const std::wstring& namespacePath)
{
    return recordedSource(recording_, Questions::kConnectOptional, namespacePath);
}

Result<std::wstring, Failure<RegistryStep>> RecordedMachine::registryString(RegistryRoot, const std::wstring& keyPath,
                                                                            const std::wstring& valueName)
{
    return answer<Result<std::wstring, Failure<RegistryStep>>>(Questions::registry(keyPath, valueName),
                                                               Failure<RegistryStep>{RegistryStep::valueSize, kNotFound});
}

DomainController RecordedMachine::domainController()
{
    return answer<DomainController>(Questions::kDomainController, {kNoDomain, L"", 0});
}

Result<std::wstring, LastError> RecordedMachine::localeInfo(std::uint32_t locale, LocalePart part)
{
    return answer<Result<std::wstring, LastError>>(Questions::locale(locale, part), LastError{kNotFound});
}

Result<std::uint64_t, LastError> RecordedMachine::totalPhysicalMemory()
{
    return answer<Result<std::uint64_t, LastError>>(Questions::kPhysicalMemory, LastError{kNotFound});
}

Result<bool, Failure<TrimStep>> RecordedMachine::trimEnabled(const std::wstring& drivePath)
{
    return answer<Result<bool, Failure<TrimStep>>>(Questions::trim(drivePath), Failure<TrimStep>{TrimStep::openDrive, kNotFound});
}

Result<DeviceLocation, Failure<DeviceSetupStep>> RecordedMachine::deviceLocation(const std::wstring& instanceId)
{
    return answer<Result<DeviceLocation, Failure<DeviceSetupStep>>>(
        Questions::device(instanceId), Failure<DeviceSetupStep>{DeviceSetupStep::element, kNoMoreItems});
}

std::uint32_t RecordedMachine::enumerateFirmwareTables(std::uint32_t provider)
{
    return answer<std::uint32_t>(Questions::firmwareTables(provider), 0);
}

Result<Bytes, FirmwareStep> RecordedMachine::firmwareTable(std::uint32_t provider, std::uint32_t table)
{
    return answer<Result<Bytes, FirmwareStep>>(Questions::firmwareTable(provider, table), FirmwareStep::size);
}

ModuleHandle RecordedMachine::loadModule(const wchar_t* name)
{
    return answer<bool>(Questions::module(name), false) ? const_cast<std::wstring*>(keepName(name)) : nullptr;
}

// Recorded are the functions that a library lacks.
void* RecordedMachine::findProcedure(ModuleHandle module, const char* name)
{
    if (!module || recording_.has(Questions::function(*static_cast<const std::wstring*>(module), name)))
        return nullptr;
    return VendorCalls::replay(recording_, name);
}

void RecordedMachine::freeModule(ModuleHandle)
{
}

// A recording without the library's answer may have the facts of the host that it draws on.
std::int32_t RecordedMachine::vmType()
{
    if (recording_.has(Questions::kVmType))
        return answer<std::int32_t>(Questions::kVmType, 0);
    VmDetect::HostFacts facts;
    facts.hypervisor = VmDetect::hypervisorFacts(
        [this](std::uint32_t leaf) -> VmDetect::CpuidRegisters
        {
            const Json* const registers = recording_.next(Questions::cpuid(leaf));
            if (!registers)
                return {};
            return {registers->at(0), registers->at(1), registers->at(2), registers->at(3)};
        });
    if (const auto table = firmwareTable(Questions::kSmbiosProvider, 0))
        facts.firmware = VmDetect::firmwareFacts(table.value());
    for (const std::wstring& text : answer<std::vector<std::wstring>>(Questions::kBiosVersions, {}))
        facts.registryBiosVersions.push_back(ZelStdCore::toUtf8(text));
    return static_cast<std::int32_t>(VmDetect::hypervisorType(facts));
}

bool RecordedMachine::isVirtual(std::int32_t type)
{
    return answer<bool>(Questions::isVirtual(type), type >= 1 && type <= 25);
}
}
