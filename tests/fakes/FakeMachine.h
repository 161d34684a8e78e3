#pragma once

#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "st-core/lib/StackTrace.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// The machine behind the tests' platform functions. A test fills in what its case needs; everything else is that of a physical
// machine without any facts.
namespace fakes
{
using namespace HardwareInventory::Platform;

struct FakeMachine
{
    std::int32_t vmType = 0; // of the VM detection library
    std::uint32_t lastError = 0;
    std::uint64_t physicalMemory = 8ull << 30;

    std::map<std::wstring, std::wstring> registry; // "key path\value name" -> text
    DomainController domain{1355, L"", 0};
    std::map<LocalePart, std::wstring> locale{{LocalePart::language, L"en"}, {LocalePart::country, L"US"}};
    std::map<std::wstring, bool> trim;                // by drive path; a drive not listed cannot be opened
    std::map<std::wstring, DeviceLocation> locations; // by instance identifier; a device not listed has no element
    std::vector<std::uint8_t> smbiosTable;            // as the firmware call returns it; empty: no such provider

    // Modules by name, each a table of its procedures.
    std::map<std::wstring, std::map<std::string, void*>> modules;
    std::vector<std::wstring> freedModules;
    bool terminating = false;

    std::vector<ZelStdCore::StackFrame> stack; // as the tracer returns it

    // Every platform call passes here with its name; true makes it fail. The default fails none.
    std::function<bool(const char* operation)> fails = [](const char*) { return false; };
    std::vector<std::string> calls; // the operations, in order
};

FakeMachine& machine();

// Records the call and returns whether it fails; a failing call leaves 5 ("access denied") as the last error.
bool callFails(const char* operation);

// The text that the fake system has for an error number.
std::wstring messageOf(std::uint32_t code);

// The host's log, as (level, message) pairs, while an object of this type lives.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;

    using Lines = std::vector<std::pair<std::uint32_t, std::string>>;
    const Lines& lines() const;
    bool contains(std::uint32_t level, const std::string& message) const;
    void clear();
};
}
