#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "hw-inventory-impl/lib/SMBIOS/SmbiosInventory.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/unit/smbios/SmbiosTest.h"

#include <gmock/gmock.h>

#include <stdexcept>

using namespace HardwareInventory;
using namespace smbios_test;
using SMBIOS::SmbiosInventory;
using testing::ElementsAre;

namespace
{
struct Version
{
    std::uint8_t major;
    std::uint8_t minor;
};

SmbiosInventory decode(Version version, std::vector<Structure> structures)
{
    fakes::machine().smbiosTable = rawTable(version.major, version.minor, std::move(structures));
    return SmbiosInventory();
}

std::wstring vendor(std::uint16_t id)
{
    return PciIdDatabase::instance().vendorName(id);
}

// A memory device of the given length with all six strings.
Structure memory(std::uint8_t length, std::uint16_t size)
{
    Structure structure(17, length, {"DIMM 0", "BANK 0", "Contoso ", "1234ABCD", "Tag", "Part"});
    const std::pair<std::size_t, std::uint8_t> strings[] = {{0x10, 1}, {0x11, 2}, {0x17, 3}, {0x18, 4}, {0x19, 5}, {0x1A, 6}};
    for (const auto& [offset, number] : strings)
        if (offset < length)
            structure.set(offset, number);
    return structure.set(0x0C, size);
}
}

TEST(Decoders, ReadTheSizeOfAMemoryDevice)
{
    const auto extended = [](std::uint32_t mebibytes) { return memory(0x22, 0x7FFF).set<std::uint32_t>(0x1C, mebibytes); };
    std::vector<std::uint64_t> sizes;
    for (const RamInfo& module :
         decode({2, 8}, {memory(0x22, 0x8010), memory(0x22, 0x4000), memory(0x22, 0), memory(0x22, 1), memory(0x22, 0x7FFE),
                         memory(0x22, 0x8000), memory(0x22, 0xFFFE), memory(0x22, 0xFFFF), extended(65536), extended(0x80000000),
                         memory(0x1B, 0x7FFF), Structure(17, 0x0D, {"too short"})})
             .memoryModules())
        sizes.push_back(module.capacity);
    EXPECT_THAT(sizes, ElementsAre(16384u, 17179869184u, 1u << 20, 0x7FFEull << 20, 0u, 0x7FFEu << 10, 0u, 68719476736u,
                                   0x80000000ull << 20, 0u));
}

TEST(Decoders, TakeFromAMemoryDeviceWhatItsVersionAndLengthOffer)
{
    const std::wstring named = L" status=3 serialNumber=1234ABCD capacity=1048576 deviceLocator=DIMM 0";
    const std::wstring whole = L"name=Tag manufacturer=Contoso  model=" + named;
    const std::wstring bare = L"name= manufacturer= model= status=3 serialNumber= capacity=1048576 deviceLocator=DIMM 0";
    const auto identified = [](std::uint16_t manufacturer, std::uint16_t product, std::uint8_t length = 0x54)
    { return memory(length, 1).set(0x2C, manufacturer).set(0x2E, product); };
    const std::wstring intelModel = PciIdDatabase::instance().modelName(0x8086, 0x1237);
    ASSERT_FALSE(intelModel.empty());

    struct Case
    {
        Version version;
        Structure structure;
        std::wstring line;
    };
    const Case cases[] = {
        {{2, 2}, memory(0x54, 1), bare},
        {{2, 3}, memory(0x1B, 1), whole},
        {{2, 7}, memory(0x15, 1), bare}, // shorter than its version promises: letters follow where the numbers would be
        {{2, 3}, memory(0x19, 1), L"name= manufacturer=Contoso  model=" + named},
        {{3, 1}, identified(0x8086, 0x1237), whole},
        {{3, 2}, identified(0x8086, 0x1237), L"name=Tag manufacturer=" + vendor(0x8086) + L" model=" + intelModel + named},
        {{4, 0}, identified(0xFFF0, 0x1237), whole}, // nobody's number: the string
        {{3, 2}, memory(0x28, 1), whole},            // no room for numbers
        {{2, 7}, memory(0x22, 1).set<std::uint8_t>(0x17, 7), L"name=Tag manufacturer= model=" + named}, // no such string
    };
    for (const Case& test : cases)
        EXPECT_THAT(showAll(decode(test.version, {test.structure}).memoryModules()), ElementsAre(test.line));

    const fakes::LogCapture log;
    decode({3, 2}, {memory(0x28, 1)});
    EXPECT_FALSE(log.contains(1, "failed to lookup vendor 0000"));
    decode({3, 2}, {identified(0xFFF0, 0x1237)});
    EXPECT_TRUE(log.contains(1, "failed to lookup vendor FFF0"));
    EXPECT_TRUE(log.contains(1, "failed to lookup model (FFF0:1237)"));
}

TEST(Decoders, ReadNumericManufacturersAndProducts)
{
    const auto board = [](const std::string& manufacturer, const std::string& product) {
        return Structure(2, 15, {manufacturer, product}).set<std::uint8_t>(4, 1).set<std::uint8_t>(5, 2).set<std::uint8_t>(13, 10);
    };
    const std::wstring intel = vendor(0x8086);
    const std::wstring intelModel = PciIdDatabase::instance().modelName(0x8086, 0x1237);
    const std::wstring appleModel = PciIdDatabase::instance().modelName(0x106B, 0x0001);
    ASSERT_FALSE(intel.empty() || intelModel.empty() || appleModel.empty());

    struct Case
    {
        std::string vendor;
        std::string product;
        std::wstring manufacturer;
        std::wstring model;
        std::wstring systemModel;
    };
    const Case cases[] = {
        {"0x8086", "0x1237", intel, intelModel, L""},
        {"0x18086", "0x91237", intel, intelModel, L""}, // the low 16 bits
        {"Contoso", "0x0001", L"Contoso", L"0x0001", appleModel},
        {"0xFFF0", "0x1237", L"", L"", L""},
        {"0x1G", "0x", L"0x1G", L"0x", L""},
        {"0X8086", "0x1237", L"0X8086", L"0x1237", L""},
        {"0x8086 ", "0X3468", L"0x8086 ", L"0X3468", L"0X3468"},
    };
    for (const Case& test : cases)
    {
        const auto inventory =
            decode({2, 3}, {board(test.vendor, test.product),
                            Structure(1, 8, {test.vendor, test.product}).set<std::uint8_t>(4, 1).set<std::uint8_t>(5, 2)});
        ASSERT_EQ(inventory.baseBoards().size(), 1u);
        EXPECT_EQ(inventory.baseBoards()[0].manufacturer, test.manufacturer) << test.vendor;
        EXPECT_EQ(inventory.baseBoards()[0].model, test.model) << test.product;
        EXPECT_EQ(inventory.manufacturer(), test.manufacturer) << test.vendor;
        EXPECT_EQ(inventory.model(), test.systemModel) << test.product;
    }

    for (const std::string number : {"0x123456789", "0xCE00000000000000"})
        EXPECT_THAT(
            [&] {
                decode({2, 3}, {board(number, "")});
            },
            testing::ThrowsMessage<std::out_of_range>("stoul argument out of range"));
    EXPECT_EQ(decode({2, 3}, {board("0xFFFFFFFF", "")}).baseBoards()[0].manufacturer, vendor(0xFFFF));
}

TEST(Decoders, KeepMotherboardsAlone)
{
    const auto board = [](std::uint8_t length, std::vector<std::string> strings)
    { return Structure(2, length, std::move(strings)).set<std::uint8_t>(4, 1).set<std::uint8_t>(5, 2).set<std::uint8_t>(7, 3); };
    const auto typed = [board](std::uint8_t type) {
        return board(15, {"Contoso", "Board", "Serial", "Tag"}).set<std::uint8_t>(8, 4).set<std::uint8_t>(13, type);
    };
    // Shorter than its type: the byte is one of the strings.
    const auto accidental = board(8, {"ACME,\nInc.", "Board", "Serial"});
    const auto plain = board(8, {"ACME, Inc.", "Board", "Serial"});
    const auto inventory = decode({1, 0}, {typed(3), typed(10), accidental, typed(9), plain});
    EXPECT_THAT(showAll(inventory.baseBoards()),
                ElementsAre(L"name=Tag manufacturer=Contoso model=Board status=3 serialNumber=Serial",
                            L"name= manufacturer=ACME,\nInc. model=Board status=3 serialNumber=Serial"));
}

TEST(Decoders, TakeFromAProcessorWhatItsVersionAndLengthOffer)
{
    const auto processor = [](std::uint8_t length, std::uint8_t status)
    {
        Structure structure = Structure(4, length, {"Socket", "Contoso", "Processor"})
                                  .set<std::uint8_t>(0x04, 1)
                                  .set<std::uint8_t>(0x05, 3)
                                  .set<std::uint8_t>(0x07, 2)
                                  .set<std::uint64_t>(0x08, 0xBFEBFBFF000906A7)
                                  .set<std::uint8_t>(0x10, 3)
                                  .set<std::uint16_t>(0x14, 4700)
                                  .set<std::uint8_t>(0x18, status);
        return length < 0x26 ? structure : structure.set<std::uint16_t>(0x23, 0x0810); // 16 cores, 8 enabled
    };
    const auto line = [](int status, const std::wstring& cores)
    {
        return L"name=Processor manufacturer=Contoso model=Processor status=" + std::to_wstring(status) +
               L" maxClockSpeed=4700 cores=" + cores + L" socketDesignation=Socket processorID=bfebfbff000906a7";
    };
    struct Case
    {
        Version version;
        Structure structure;
        std::vector<std::wstring> lines;
    };
    const Case cases[] = {
        {{2, 5}, processor(0x28, 0x41), {line(0, L"8")}},
        {{3, 0}, processor(0x28, 0x42), {line(2, L"8")}},
        {{2, 4}, processor(0x28, 0x43), {line(1, L"0")}},
        {{2, 5}, processor(0x20, 0x46), {line(0, L"0")}},
        {{1, 9},
         processor(0x28, 0x42),
         {L"name= manufacturer= model= status=1 maxClockSpeed=0 cores=0 socketDesignation=Socket processorID=bfebfbff000906a7"}},
        {{2, 5}, processor(0x28, 0x41).set<std::uint8_t>(5, 4), {}}, // a math processor
        {{2, 5},
         Structure(4, 6).set<std::uint8_t>(5, 3),
         {L"name= manufacturer= model= status=0 maxClockSpeed=0 cores=0 socketDesignation= processorID="}},
    };
    for (const Case& test : cases)
        EXPECT_EQ(showAll(decode(test.version, {test.structure}).processors()), test.lines);
    EXPECT_EQ(decode({2, 5}, {processor(0x28, 0).set<std::uint64_t>(8, 0x0A)}).processors()[0].processorID, L"a");
}

TEST(Decoders, KeepTheLastFactsOfTheSystem)
{
    const auto bios = [](std::vector<std::string> strings, std::uint8_t vendor, std::uint8_t version, std::uint8_t date)
    { return Structure(0, 9, std::move(strings)).set(4, vendor).set(5, version).set(8, date); };
    const auto system = [](const std::string& serial)
    {
        Structure structure(1, 8, {"Contoso", "Product", serial});
        return structure.set<std::uint8_t>(4, 1).set<std::uint8_t>(5, 2).set<std::uint8_t>(7, 3);
    };
    const auto chassis = [](std::uint8_t type) { return Structure(3, 9).set(5, type); };

    struct Case
    {
        Version version;
        std::vector<Structure> structures;
        std::wstring facts; // BIOS | manufacturer model serial number | chassis
    };
    const Structure whole = bios({"ACME", "1.2", "01/02/2020"}, 1, 2, 3);
    const Case cases[] = {
        {{2, 0}, {whole, system("First"), system("Last"), chassis(3)}, L"ACME 1.2, 01/02/2020|Contoso Product Last|desktop"},
        {{1, 9}, {whole, system("First"), chassis(3)}, L"|  |"},
        {{3, 0}, {whole, bios({"1.2", "01/02/2020"}, 0, 1, 2)}, L"1.2, 01/02/2020|  |"},
        {{3, 0}, {bios({"ACME"}, 1, 0, 0)}, L"ACME , |  |"},
        {{3, 0}, {whole, bios({"A"}, 2, 3, 255)}, L"|  |"},
        {{3, 0}, {chassis(1)}, L"|  |other"},
        {{3, 0}, {chassis(21), chassis(0), chassis(22), chassis(0x83), Structure(3, 5)}, L"|  |peripheral chassis"},
    };
    for (const Case& test : cases)
    {
        const auto inventory = decode(test.version, test.structures);
        EXPECT_EQ(inventory.biosVersion() + L"|" + inventory.manufacturer() + L" " + inventory.model() + L" " +
                      inventory.serialNumber() + L"|" + inventory.chassisType(),
                  test.facts);
    }
}
