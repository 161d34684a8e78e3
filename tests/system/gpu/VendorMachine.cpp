#include "tests/system/gpu/VendorMachine.h"

namespace fakes
{
std::optional<long long> Section::number(const std::string& key) const
{
    const auto value = find(key);
    return value == end() ? std::nullopt : std::optional(std::stoll(value->second));
}

std::string Section::text(const std::string& key) const
{
    const auto value = find(key);
    return value == end() ? std::string() : value->second;
}

VendorMachine& vendorMachine()
{
    static auto& machine = *new VendorMachine;
    return machine;
}

void readRecording(std::istream& lines)
{
    Section* section = nullptr;
    for (std::string line; std::getline(lines, line);)
    {
        const std::size_t equals = line.find(" = ");
        if (equals != line.npos)
            (*section)[line.substr(0, equals)] = line.substr(equals + 3);
        else
            section = &(line == "[adl.adapter]" ? vendorMachine().adl : vendorMachine().nvml).devices.emplace_back();
    }
}

void recordCall(const std::string& call)
{
    vendorMachine().calls.push_back(call);
    if (vendorMachine().onCall)
        vendorMachine().onCall(call);
}
}
