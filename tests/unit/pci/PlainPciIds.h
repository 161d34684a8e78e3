#pragma once

#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "st-core/lib/Utf8.h"

#include <cstdlib>
#include <map>
#include <optional>

// The PCI ID list read in the plainest way, line by line with copies and maps, for comparison with the real parser.
namespace plain
{
struct PciIds
{
    explicit PciIds(const std::string& text)
    {
        auto lines = split(text.substr(0, text.find('\xFF')), "\n");
        lines.pop_back(); // what no line end follows
        for (lineNumber_ = 1; lineNumber_ <= lines.size() && !lines[lineNumber_ - 1].starts_with('\0'); ++lineNumber_)
            readLine(lines[lineNumber_ - 1]);
    }

    std::map<std::uint64_t, std::string> vendors, models, subsystems;
    std::vector<std::string> warnings;

private:
    void readLine(std::string line)
    {
        if (line.empty() || line[0] == '#')
            return;
        const std::size_t tabs = line.starts_with("\t\t") ? 2 : line[0] == '\t' ? 1 : 0;
        line.erase(0, tabs);
        const std::string number = std::to_string(lineNumber_);
        if (tabs == 1 ? !vendor_ : tabs == 2 && !device_)
            return warn("ambigous device " + std::string(tabs == 1 ? "" : "subsystem ") + "information at line " + number + ": " +
                        utf8(line));
        const auto fields = split(line, "  ");
        if (fields.size() != 2)
            return;
        const auto convert = [&](const std::string& text, const std::string& what, const std::string& tooLarge,
                                 const std::string& quote) -> std::optional<std::uint64_t>
        {
            const bool isNumber = text.find_first_of("0123456789abcdefABCDEF") == 0;
            const std::uint64_t value = isNumber ? std::strtoull(text.c_str(), nullptr, 16) : 0;
            if (isNumber && value <= 0xFFFF)
                return value;
            warn("'" + utf8(line) + "' (line " + number + ") contains " + (isNumber ? tooLarge : "illegal") + " value of " + what +
                 ": " + quote + utf8(text) + quote);
            return std::nullopt;
        };
        if (tabs == 0)
        {
            if (!(vendor_ = convert(fields[0], "vendor id", "out of bound", "")))
                device_.reset();
            else
                vendors[*vendor_] = fields[1];
        }
        else if (tabs == 1)
        {
            if ((device_ = convert(fields[0], "model id", "out of range", "")))
                models[*vendor_ << 16 | *device_] = fields[1];
        }
        else if (const auto ids = split(fields[0], " "); ids.size() == 2)
            if (const auto vendor = convert(ids[0], "subsystem vendor", "out of range", "'"))
                if (const auto device = convert(ids[1], "subsystem id", "out of range", "'"))
                    subsystems[*vendor_ << 48 | *device_ << 32 | *vendor << 16 | *device] = fields[1];
    }

    // The log ends a message at a NUL.
    void warn(const std::string& message) { warnings.push_back(message.c_str()); }

    static std::string utf8(const std::string& bytes) { return ZelStdCore::toUtf8(ZelStdCore::widen(bytes)); }

    static std::vector<std::string> split(const std::string& text, const std::string& separator)
    {
        std::vector<std::string> fields;
        std::size_t begin = 0;
        for (auto end = text.find(separator); end != std::string::npos; end = text.find(separator, begin = end + separator.size()))
            fields.push_back(text.substr(begin, end - begin));
        fields.push_back(text.substr(begin));
        return fields;
    }

    std::size_t lineNumber_ = 0;
    std::optional<std::uint64_t> vendor_, device_;
};

inline bool haveSameNames(const HardwareInventory::PciIdDatabase& database, const PciIds& expected)
{
    bool same = database.vendorNames().size() == expected.vendors.size();
    const auto at = [](std::uint64_t id, int shift) { return static_cast<std::uint16_t>(id >> shift); };
    const auto compare = [&same](const std::wstring& name, const std::string& plain) { same &= name == ZelStdCore::widen(plain); };
    for (const auto& [id, name] : expected.vendors)
        compare(database.vendorName(at(id, 0)), name);
    for (const auto& [id, name] : expected.models)
        compare(database.modelName(at(id, 16), at(id, 0)), name);
    for (const auto& [id, name] : expected.subsystems)
        compare(database.subsystemModelName(at(id, 48), at(id, 32), at(id, 16), at(id, 0)), name);
    return same;
}
}
