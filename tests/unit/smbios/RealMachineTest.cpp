#include "hw-inventory-impl/lib/SMBIOS/SmbiosInventory.h"
#include "hw-inventory-impl/lib/SMBIOS/Win32Parser.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/unit/smbios/RealMachines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <stdexcept>

using namespace HardwareInventory;
using namespace HardwareInventory::SMBIOS;
using namespace smbios_test;

namespace
{
class RealMachineTest : public testing::Test
{
protected:
    void SetUp() override
    {
        machines_ = realMachines();
        if (machines_.empty())
            GTEST_SKIP() << "HW_INVENTORY_CORPUS names no data of real machines";
    }

    std::vector<RealMachine> machines_;
};

std::vector<std::string> walkedHeaders(const Bytes& table)
{
    fakes::machine().smbiosTable = table;
    std::vector<std::string> headers;
    Win32Parser parser;
    for (unsigned type = 0; type < 256; ++type)
        parser.registerHandler(static_cast<std::uint8_t>(type), [&headers](const Version&, const Struct* structure)
                               { headers.push_back(header(structure->handle(), structure->type(), structure->length())); });
    parser.read();
    return headers;
}

// dmidecode prints a dot for what cannot be printed.
std::wstring printed(std::wstring line)
{
    std::ranges::replace_if(
        line, [](wchar_t letter) { return letter < L' ' || letter > L'~'; }, L'.');
    return line;
}

template <class Line>
void expectSame(std::vector<Line> lines, const std::vector<Line>& expected, bool broken)
{
    if (broken && lines.size() > expected.size())
        lines.resize(expected.size());
    EXPECT_EQ(lines, expected);
}

void expectSameRecords(std::vector<std::wstring> lines, std::vector<std::wstring> expected, bool broken)
{
    for (auto* const side : {&lines, &expected})
        std::ranges::transform(*side, side->begin(), printed);
    expectSame(lines, expected, broken);
}

// The places of the populated sockets; nothing when the table cannot be decoded.
std::optional<std::vector<std::wstring>> locators(const Bytes& table)
{
    fakes::machine().smbiosTable = table;
    fakes::machine().calls.clear();
    std::vector<std::wstring> places;
    try
    {
        for (const RamInfo& module : SmbiosInventory().memoryModules())
            places.push_back(module.deviceLocator);
    }
    catch (const std::runtime_error&)
    {
        return std::nullopt; // no header
    }
    catch (const std::out_of_range&)
    {
        return std::nullopt; // a numeric manufacturer of more than 32 bits
    }
    return places;
}
}

TEST_F(RealMachineTest, DecodesLikeDmidecode)
{
    for (const RealMachine& machine : machines_)
    {
        SCOPED_TRACE(machine.name);
        auto headers = walkedHeaders(machine.table);
        if (!machine.broken && headers.size() == machine.headers.size() + 1)
            headers.pop_back(); // the parser's own: the table has no end
        expectSame(headers, machine.headers, machine.broken);

        const SmbiosInventory inventory;
        expectSameRecords(showAll(inventory.memoryModules()), machine.memory, machine.broken);
        expectSameRecords(showAll(inventory.baseBoards()), machine.boards, machine.broken);
        expectSameRecords(showAll(inventory.processors()), machine.processors, machine.broken);
        EXPECT_EQ(printed(inventory.manufacturer() + L"|" + inventory.model() + L"|" + inventory.serialNumber()),
                  printed(machine.system));
        EXPECT_EQ(inventory.chassisType(), machine.chassis);
        if (!machine.broken) // else what stands behind is taken for further BIOS structures, and the last one counts
            EXPECT_EQ(printed(inventory.biosVersion()), printed(machine.bios));
    }
}

TEST_F(RealMachineTest, CutOffAnywhereKeepsWhatIsWhole)
{
    for (const RealMachine& machine : machines_)
    {
        SCOPED_TRACE(machine.name);
        const auto whole = locators(machine.table);
        ASSERT_TRUE(whole);
        for (std::size_t size = 1; size < machine.table.size(); ++size)
        {
            const auto kept = locators({machine.table.begin(), machine.table.begin() + size});
            ASSERT_EQ(kept.has_value(), size >= 8) << size;
            if (!kept || kept->empty())
                continue;
            ASSERT_LE(kept->size(), whole->size()) << size;
            ASSERT_TRUE(std::equal(kept->begin(), kept->end() - 1, whole->begin())) << size; // the last one may be incomplete
        }
    }
}

TEST_F(RealMachineTest, SurvivesDamage)
{
    std::mt19937 random(4711);
    for (const RealMachine& machine : machines_)
        for (std::size_t offset = random() % 8; offset < machine.table.size(); offset += 1 + random() % 8)
        {
            Bytes table = machine.table;
            table[offset] ^= static_cast<std::uint8_t>(1 + random() % 255);
            locators(table);
        }
}
