#pragma once

#include <istream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The machine behind the vendors' fake libraries: in a unit test filled in by the test, in a fake DLL read from a recording. A
// call whose value is not recorded returns the library's "not supported".
namespace fakes
{
// Values by key. The name of a function as the key gives its return code.
struct Section : std::map<std::string, std::string>
{
    using map::map;

    std::optional<long long> number(const std::string& key) const;
    std::string text(const std::string& key) const; // empty when not recorded
};

struct VendorLibrary
{
    Section library;
    std::vector<Section> devices;
};

struct VendorMachine
{
    VendorLibrary nvml;
    VendorLibrary adl;
    std::vector<std::string> calls; // what was asked of the libraries, in order
    void (*onCall)(const std::string& call) = nullptr;
};
VendorMachine& vendorMachine();

// Lines "key = value" under "[nvml.device]" or "[adl.adapter]", which begins a further device each time.
void readRecording(std::istream& lines);

void recordCall(const std::string& call);

template <class... Arguments>
std::string callText(std::string_view function, Arguments... arguments)
{
    std::string text(function);
    ((text += ' ' + std::to_string(arguments)), ...);
    return text;
}

// A library's functions by name, as a FakeMachine takes them.
using Procedures = std::map<std::string, void*>;
Procedures nvmlProcedures();
Procedures adlProcedures();
}
