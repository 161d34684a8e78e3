// Any bytes as a PCI ID list: the same names and warnings as from the plain parser.
#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "st-core/lib/Utf8.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/unit/pci/PlainPciIds.h"

#include <cstdlib>

using HardwareInventory::PciIdDatabase;

namespace
{
void require(bool holds)
{
    if (!holds)
        std::abort();
}

void requireNames(const PciIdDatabase& database, const plain::PciIds& expected)
{
    const auto at = [](std::uint64_t id, int shift) { return static_cast<std::uint16_t>(id >> shift); };
    require(database.vendorNames().size() == expected.vendors.size());
    for (const auto& [id, name] : expected.vendors)
        require(database.vendorName(at(id, 0)) == ZelStdCore::widen(name));
    for (const auto& [id, name] : expected.models)
        require(database.modelName(at(id, 16), at(id, 0)) == ZelStdCore::widen(name));
    for (const auto& [id, name] : expected.subsystems)
        require(database.subsystemModelName(at(id, 48), at(id, 32), at(id, 16), at(id, 0)) == ZelStdCore::widen(name));
}
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto* const text = reinterpret_cast<const char*>(data);
    const plain::PciIds expected(std::string(text, size));
    const fakes::LogCapture log;
    PciIdDatabase database;
    database.parse(text, size);
    requireNames(database, expected);

    require(log.lines().size() == expected.warnings.size());
    for (std::size_t index = 0; index < expected.warnings.size(); ++index)
        require(log.lines()[index] == std::pair(1u, expected.warnings[index]));
    return 0;
}
