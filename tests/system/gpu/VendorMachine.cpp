#include "tests/system/gpu/VendorMachine.h"

#include <algorithm>
#include <stdexcept>

namespace fakes
{
namespace
{
    std::string trimmed(std::string_view text)
    {
        const auto first = text.find_first_not_of(" \t\r");
        if (first == text.npos)
            return {};
        return std::string(text.substr(first, text.find_last_not_of(" \t\r") - first + 1));
    }

    Section& openSection(const std::string& header)
    {
        VendorMachine& machine = vendorMachine();
        if (header == "[nvml]")
            return machine.nvml.library;
        if (header == "[nvml.device]")
            return machine.nvml.devices.emplace_back();
        if (header == "[adl]")
            return machine.adl.library;
        if (header == "[adl.adapter]")
            return machine.adl.devices.emplace_back();
        throw std::runtime_error("unknown section in the recording: " + header);
    }
}

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

void readRecording(std::string_view text)
{
    Section* section = nullptr;
    for (std::size_t begin = 0; begin < text.size();)
    {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = trimmed(text.substr(begin, end - begin));
        begin = end + 1;
        if (line.empty() || line.front() == '#')
            continue;
        if (line.front() == '[')
        {
            section = &openSection(line);
            continue;
        }
        const std::size_t equals = line.find('=');
        if (!section || equals == line.npos)
            throw std::runtime_error("not a line of a recording: " + line);
        (*section)[trimmed(std::string_view(line).substr(0, equals))] = trimmed(std::string_view(line).substr(equals + 1));
    }
}

void recordCall(const std::string& call)
{
    vendorMachine().calls.push_back(call);
    if (vendorMachine().onCall)
        vendorMachine().onCall(call);
}
}
