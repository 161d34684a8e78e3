#pragma once

#include "st-core/lib/Utf8.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <vector>

// The PCI ID list read in the plainest way, line by line with copies and maps, for comparison with the real parser.
namespace plain
{
class PciIds
{
public:
    explicit PciIds(std::string text)
    {
        text.resize(std::min(text.find('\xFF'), text.size()));
        std::size_t begin = 0;
        for (auto end = text.find('\n'); end != std::string::npos && text[begin] != '\0'; end = text.find('\n', begin))
        {
            ++lineNumber_;
            readLine(text.substr(begin, end - begin));
            begin = end + 1;
        }
    }

    std::map<std::uint64_t, std::string> vendors;
    std::map<std::uint64_t, std::string> models;
    std::map<std::uint64_t, std::string> subsystems;
    std::vector<std::string> warnings;

private:
    void readLine(std::string line)
    {
        if (line.empty() || line[0] == '#')
            return;
        const std::size_t tabs = line.substr(0, 2) == "\t\t" ? 2 : line[0] == '\t' ? 1 : 0;
        line.erase(0, tabs);
        if (tabs == 1 && !vendor_)
            return warn("ambigous device information at line " + std::to_string(lineNumber_) + ": " + utf8(line));
        if (tabs == 2 && !device_)
            return warn("ambigous device subsystem information at line " + std::to_string(lineNumber_) + ": " + utf8(line));

        const auto fields = split(line, "  ");
        if (fields.size() != 2)
            return;
        if (tabs == 0)
            readVendor(line, fields[0], fields[1]);
        else if (tabs == 1)
            readDevice(line, fields[0], fields[1]);
        else
            readSubsystem(line, split(fields[0], " "), fields[1]);
    }

    void readVendor(const std::string& line, const std::string& id, const std::string& name)
    {
        vendor_ = convert(line, id, "vendor id: ", "out of bound", "");
        if (vendor_)
            vendors[*vendor_] = name;
        else
            device_.reset();
    }

    void readDevice(const std::string& line, const std::string& id, const std::string& name)
    {
        device_ = convert(line, id, "model id: ", "out of range", "");
        if (device_)
            models[*vendor_ << 16 | *device_] = name;
    }

    void readSubsystem(const std::string& line, const std::vector<std::string>& ids, const std::string& name)
    {
        if (ids.size() != 2)
            return;
        const auto vendor = convert(line, ids[0], "subsystem vendor: ", "out of range", "'");
        if (!vendor)
            return;
        if (const auto device = convert(line, ids[1], "subsystem id: ", "out of range", "'"))
            subsystems[*vendor_ << 48 | *device_ << 32 | *vendor << 16 | *device] = name;
    }

    std::optional<std::uint64_t> convert(const std::string& line, const std::string& text, const std::string& what,
                                         const std::string& tooLarge, const std::string& quote)
    {
        const bool isNumber = !text.empty() && std::isxdigit(static_cast<unsigned char>(text[0]));
        const std::uint64_t value = isNumber ? std::strtoull(text.c_str(), nullptr, 16) : 0;
        if (isNumber && value <= 0xFFFF)
            return value;
        warn("'" + utf8(line) + "' (line " + std::to_string(lineNumber_) + ") contains " + (isNumber ? tooLarge : "illegal") +
             " value of " + what + quote + utf8(text) + quote);
        return std::nullopt;
    }

    // The log ends a message at a NUL.
    void warn(const std::string& message) { warnings.push_back(message.c_str()); }

    // As in the host's log.
    static std::string utf8(const std::string& bytes) { return ZelStdCore::toUtf8(ZelStdCore::widen(bytes)); }

    static std::vector<std::string> split(const std::string& text, const std::string& separator)
    {
        std::vector<std::string> fields;
        std::size_t begin = 0;
        for (auto end = text.find(separator); end != std::string::npos; end = text.find(separator, begin))
        {
            fields.push_back(text.substr(begin, end - begin));
            begin = end + separator.size();
        }
        fields.push_back(text.substr(begin));
        return fields;
    }

    std::size_t lineNumber_ = 0;
    std::optional<std::uint64_t> vendor_;
    std::optional<std::uint64_t> device_;
};
}
