#include "machine/RecordingMachine.h"

#include "machine/Answers.h"
#include "machine/LogLines.h"
#include "machine/Questions.h"
#include "machine/RecordedWmi.h"
#include "machine/VendorCalls.h"

#include <map>
#include <utility>

namespace HardwareInventory::Platform
{
namespace
{
using Bytes = std::vector<std::uint8_t>;

// The names of the modules that were loaded.
std::map<ModuleHandle, std::wstring> moduleNames;

// What the log says of an error number.
template <class Answer>
void noteMessage(Recording&, const Answer&)
{
}

template <class Value>
void noteMessage(Recording& recording, const Result<Value, LastError>& answer)
{
    if (!answer && answer.error().code != 0)
        recording.add(Questions::message(answer.error().code), Answers::write(answer.error().text()));
}
}

RecordingMachine::RecordingMachine(Machine& real, Recording& recording) : real_(real), recording_(recording)
{
    LogLines::listen();
}

template <class Answer>
Answer RecordingMachine::noted(const std::string& question, Answer answer)
{
    recording_.add(question, Answers::write(answer));
    noteMessage(recording_, answer);
    return answer;
}

std::unique_ptr<ManagementSource> RecordingMachine::connectManagementSource(const std::wstring& namespacePath)
{
    return recordingSource(recording_, Questions::kConnect, namespacePath,
                           [&]() -> OptionalSource { return real_.connectManagementSource(namespacePath); })
        .value();
}

Result<std::unique_ptr<ManagementSource>, LastError> RecordingMachine::connectOptionalSource(const std::wstring& namespacePath)
{
    auto source = recordingSource(recording_, Questions::kConnectOptional, namespacePath,
                                  [&] { return real_.connectOptionalSource(namespacePath); });
    noteMessage(recording_, source);
    return source;
}

Result<std::wstring, Failure<RegistryStep>> RecordingMachine::registryString(RegistryRoot root, const std::wstring& keyPath,
                                                                             const std::wstring& valueName)
{
    return noted(Questions::registry(keyPath, valueName), real_.registryString(root, keyPath, valueName));
}

DomainController RecordingMachine::domainController()
{
    return noted(Questions::kDomainController, real_.domainController());
}

Result<std::wstring, LastError> RecordingMachine::localeInfo(std::uint32_t locale, LocalePart part)
{
    return noted(Questions::locale(locale, part), real_.localeInfo(locale, part));
}

Result<std::uint64_t, LastError> RecordingMachine::totalPhysicalMemory()
{
    return noted(Questions::kPhysicalMemory, real_.totalPhysicalMemory());
}

Result<bool, Failure<TrimStep>> RecordingMachine::trimEnabled(const std::wstring& drivePath)
{
    return noted(Questions::trim(drivePath), real_.trimEnabled(drivePath));
}

Result<DeviceLocation, Failure<DeviceSetupStep>> RecordingMachine::deviceLocation(const std::wstring& instanceId)
{
    return noted(Questions::device(instanceId), real_.deviceLocation(instanceId));
}

std::uint32_t RecordingMachine::enumerateFirmwareTables(std::uint32_t provider)
{
    return noted(Questions::firmwareTables(provider), real_.enumerateFirmwareTables(provider));
}

Result<Bytes, FirmwareStep> RecordingMachine::firmwareTable(std::uint32_t provider, std::uint32_t table)
{
    return noted(Questions::firmwareTable(provider, table), real_.firmwareTable(provider, table));
}

ModuleHandle RecordingMachine::loadModule(const wchar_t* name)
{
    void* const module = real_.loadModule(name);
    moduleNames[module] = name;
    recording_.add(Questions::module(name), module != nullptr);
    return module;
}

void* RecordingMachine::findProcedure(ModuleHandle module, const char* name)
{
    void* const function = real_.findProcedure(module, name);
    if (function)
        return VendorCalls::record(recording_, name, function);
    if (module)
        recording_.add(Questions::function(moduleNames[module], name), false);
    return nullptr;
}

void RecordingMachine::freeModule(ModuleHandle module)
{
    real_.freeModule(module);
}

std::int32_t RecordingMachine::vmType()
{
    return noted(Questions::kVmType, real_.vmType());
}

bool RecordingMachine::isVirtual(std::int32_t type)
{
    return noted(Questions::isVirtual(type), real_.isVirtual(type));
}
}
