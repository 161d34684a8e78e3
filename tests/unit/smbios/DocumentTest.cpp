#include "hw-inventory-interface/include/hw_inventory_interface.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/unit/smbios/SmbiosTest.h"

#include <gmock/gmock.h>

using namespace smbios_test;

namespace
{
Structure memory(const std::string& manufacturer, std::uint16_t size, std::uint16_t manufacturerId = 0)
{
    return Structure(17, 0x54, {"DIMM \xC3\xBC", manufacturer, "0x00000000"})
        .set(0x0C, size)
        .set<std::uint8_t>(0x10, 1)
        .set<std::uint8_t>(0x17, 2)
        .set<std::uint8_t>(0x18, 3)
        .set<std::uint32_t>(0x1C, 65536)
        .set(0x2C, manufacturerId)
        .set<std::uint16_t>(0x2E, 0xFFF0);
}

std::string document()
{
    fakes::machine().physicalMemory = 7;
    char* buffer = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(hardware_inventory_find_ram(&buffer, &size), EXPORT_STATUS_SUCCESS);
    const std::string text(buffer, size - 1);
    release_buffer(buffer);
    return text;
}
}

TEST(RamDocument, ListsTheFirmwaresPopulatedSockets)
{
    fakes::machine().smbiosTable = rawTable(
        3, 2, {memory(" Contoso  ", 0x7FFF), memory("Contoso", 0), memory("Contoso", 0xFFFF, 0x8086), memory("0xFFF0", 0x8010)});
    const std::string common = "\"deviceLocator\":\"DIMM \xC3\xBC\",";
    EXPECT_EQ(document(), R"({"rams":[{"capacity":68719476736,)" + common +
                              R"("manufacturer":"Contoso","name":"Physical Memory Slot 1"},{)" + common +
                              R"("manufacturer":"Intel Corporation","name":"Physical Memory Slot 2"},{"capacity":16384,)" + common +
                              R"("name":"Physical Memory Slot 3"}],"usableMemory":7})");
}

TEST(RamDocument, IsEmptyForATableThatCannotBeDecoded)
{
    fakes::machine().smbiosTable = rawTable(3, 2, {memory("Contoso", 1), memory("0xCE00000000000000", 1)});
    const fakes::LogCapture log;
    EXPECT_EQ(document(), R"({"rams":[],"usableMemory":7})");
    EXPECT_EQ(log.lines().back(),
              std::pair(1u, std::string("failed to resolve RAM information using SMBIOS provider: stoul argument out of range")));
}
