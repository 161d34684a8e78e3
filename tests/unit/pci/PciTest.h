#pragma once

#include "hw-inventory-impl/lib/PCI/PciIdListParser.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/unit/pci/PlainPciIds.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace pci_tests
{
using Names = std::map<std::uint64_t, std::string>;
using Lines = std::vector<std::string>;

inline Names namesIn(const HardwareInventory::PciIdTable& table)
{
    Names names;
    for (const auto& entry : table.entries())
        names.emplace(entry.id, std::string(entry.name, std::ranges::find(entry.name, std::unreachable_sentinel, '\n')));
    return names;
}

// The texts of the warnings logged so far; a line of another level stands out.
inline Lines warningsOf(const fakes::LogCapture& log)
{
    Lines texts;
    for (const auto& [level, text] : log.lines())
        texts.push_back(level == 1 ? text : "level " + std::to_string(level) + ": " + text);
    return texts;
}
}
