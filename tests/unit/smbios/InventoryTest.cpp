#include "hw-inventory-impl/lib/SMBIOS/SmbiosInventory.h"
#include "hw-inventory-impl/lib/SMBIOS/Win32Parser.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/unit/smbios/SmbiosTest.h"

#include <gmock/gmock.h>

#include <stdexcept>

using namespace HardwareInventory::SMBIOS;
using namespace smbios_test;
using testing::ThrowsMessage;

namespace
{
Structure module(const std::string& locator)
{
    return Structure(17, 0x15, {locator}).set<std::uint16_t>(0x0C, 1).set<std::uint8_t>(0x10, 1);
}

void failAt(const std::string& operation)
{
    fakes::machine().fails = [operation](const char* asked) { return asked == operation; };
}
}

TEST(Inventory, IsEmptyWhereTheSystemHasNoTable)
{
    const SmbiosInventory& inventory = SmbiosInventory::instance();
    EXPECT_TRUE(inventory.memoryModules().empty() && inventory.baseBoards().empty() && inventory.processors().empty());
    EXPECT_EQ(inventory.manufacturer() + inventory.model() + inventory.serialNumber() + inventory.biosVersion() +
                  inventory.chassisType(),
              L"");
    EXPECT_THAT([] { Win32Parser().read(); }, ThrowsMessage<std::runtime_error>("SMBIOS table is unavailable"));
}

TEST(Inventory, ReadsTheTableOnceItCan)
{
    const auto instance = [] { return SmbiosInventory::instance().memoryModules(); };
    const Bytes table = rawTable(2, 7, {module("A"), module("B")});
    fakes::machine().smbiosTable = table;
    failAt("GetSystemFirmwareTable(size)");
    EXPECT_THAT(instance, ThrowsMessage<std::runtime_error>("failed to get SMBIOS table size"));
    failAt("GetSystemFirmwareTable");
    EXPECT_THAT(instance, ThrowsMessage<std::runtime_error>("failed to read SMBIOS table"));

    fakes::machine().fails = [](const char*) { return false; };
    for (std::size_t size = 1; size < 8; ++size)
    {
        fakes::machine().smbiosTable.assign(table.begin(), table.begin() + size);
        EXPECT_THAT(instance, ThrowsMessage<std::runtime_error>("failed to read SMBIOS table")) << size;
    }
    fakes::machine().smbiosTable = table;
    EXPECT_THAT(showAll(instance()),
                testing::ElementsAre(L"name= manufacturer= model= status=3 serialNumber= capacity=1048576 deviceLocator=A",
                                     L"name= manufacturer= model= status=3 serialNumber= capacity=1048576 deviceLocator=B"));

    fakes::machine().smbiosTable.clear();
    fakes::machine().calls.clear();
    EXPECT_EQ(instance().size(), 2u);
    EXPECT_TRUE(fakes::machine().calls.empty());
}
