#include "vm-detect/HostFacts.h"

#include "tests/unit/vm-detect/RawTable.h"
#include "vm-detect/Rules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

namespace
{
using namespace VmDetect;
using Texts = std::vector<std::string>;

RawTable fullTable()
{
    RawTable table;
    // Vendor, version, segment, release date, ROM size, characteristics (8 bytes), extension bytes 1 and 2.
    table.add(0, {1, 2, 0, 0xE0, 3, 1, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0x1C}, {"Vendor ", " 1.0", "01/01/2020"});
    table.add(1, {1, 2, 3}, {"Manufacturer", "Product\t", "Version"});
    table.add(2, {2, 1}, {"Board product", "Board manufacturer"});
    table.add(3, {1, 3, 0, 0, 2}, {"Chassis manufacturer", "First tag"});
    table.add(3, {0, 3, 0, 0, 1}, {"Second tag"});
    table.add(11, {2}, {"OEM one", "OEM two "});
    return table;
}

// Reading a byte beyond the buffer is seen by the sanitizer only where the buffer is exactly as long as the data.
FirmwareFacts factsOf(const std::vector<std::uint8_t>& raw)
{
    const auto exact = std::make_unique<std::uint8_t[]>(raw.size());
    std::copy(raw.begin(), raw.end(), exact.get());
    return firmwareFacts({exact.get(), raw.size()});
}

Texts textsOf(const FirmwareFacts& facts)
{
    Texts texts{facts.biosVendor, facts.biosVersion,       facts.manufacturer, facts.product,
                facts.version,    facts.boardManufacturer, facts.boardProduct};
    texts.insert(texts.end(), facts.assetTags.begin(), facts.assetTags.end());
    texts.insert(texts.end(), facts.oemStrings.begin(), facts.oemStrings.end());
    return texts;
}

const Texts kFullTexts{"Vendor",        "1.0",       "Manufacturer", "Product", "Version", "Board manufacturer",
                       "Board product", "First tag", "Second tag",   "OEM one", "OEM two"};

TEST(VmFirmwareFacts, ReadsEveryTextAndTheMark)
{
    const FirmwareFacts facts = factsOf(fullTable().bytes());
    EXPECT_EQ(textsOf(facts), kFullTexts);
    EXPECT_TRUE(facts.virtualMachine);
}

TEST(VmFirmwareFacts, OddTables)
{
    const struct
    {
        const char* what;
        std::vector<std::uint8_t> raw;
        const char* manufacturer;
        const char* product = "";
    } cases[] = {
        {"no header", {0, 2, 8, 0, 1, 0, 0}, ""},
        {"a short structure", RawTable().add(1, {1}, {"M", "P"}).bytes(), "M"},
        {"string numbers beyond the set", RawTable().add(1, {1, 2}, {"M"}).bytes(), "M"},
        {"the first of two", RawTable().add(1, {1}, {"M"}).add(1, {1, 2}, {"N", "O"}).bytes(), "M"},
        {"behind structures without strings", RawTable().add(126, {}, {}).add(1, {1}, {"M"}).bytes(), "M"},
        {"behind the end", RawTable().add(127, {}, {}).add(1, {1}, {"M"}).bytes(), ""},
        {"behind a length of nothing", RawTable().addBytes({9, 0, 0}).add(1, {1}, {"M"}).bytes(), ""},
        {"beyond the length in the header", RawTable().add(126, {}, {}).add(1, {1}, {"M"}).bytes(6), ""},
        {"a length in the header beyond the bytes", RawTable().add(1, {1}, {"M"}).bytes(0xFFFFFFFF), "M"},
        {"a structure longer than the table", RawTable().addBytes({1, 9, 0, 0, 1, 2, 3}).bytes(), ""},
        {"a string without end", RawTable().addBytes({1, 7, 0, 0, 1, 2, 3, 'M', 0, 'P'}).bytes(), "M"},
        {"letters above ASCII, padding", RawTable().add(1, {1, 2}, {"\xB5M\xFF", " \t "}).bytes(), "\xB5M\xFF"},
        // The mark is one bit of a byte that must be there.
        {"other bits", RawTable().add(0, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xEF}, {}).bytes(), ""},
        {"a bit beyond", RawTable().add(0, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x10}, {"\x10"}).bytes(), ""},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.what);
        const FirmwareFacts facts = factsOf(each.raw);
        EXPECT_EQ(facts.manufacturer, each.manufacturer);
        EXPECT_EQ(facts.product, each.product);
        EXPECT_FALSE(facts.virtualMachine);
    }
}

// Whatever is cut or flipped: no read outside (the sanitizer's task), and no string that the table lacks.
TEST(VmFirmwareFacts, DamagedTablesYieldNothingInvented)
{
    const std::vector<std::uint8_t> raw = fullTable().bytes();
    for (std::size_t size = 0; size < raw.size(); ++size)
        for (const std::string& text : textsOf(factsOf({raw.begin(), raw.begin() + static_cast<std::ptrdiff_t>(size)})))
            EXPECT_TRUE(text.empty() || std::count(kFullTexts.begin(), kFullTexts.end(), text)) << text << ", cut to " << size;

    for (std::size_t bit = 0; bit < raw.size() * 8; ++bit)
    {
        std::vector<std::uint8_t> flipped = raw;
        flipped[bit / 8] = static_cast<std::uint8_t>(flipped[bit / 8] ^ (1u << (bit % 8)));
        const std::string bytes(flipped.begin(), flipped.end());
        for (const std::string& text : textsOf(factsOf(flipped)))
            EXPECT_NE(bytes.find(text), std::string::npos) << text << ", flipped bit " << bit;
    }
}

TEST(VmFirmwareFacts, RealMachinesByTheirFirmwareAlone)
{
    const char* const corpus = std::getenv("HW_INVENTORY_CORPUS");
    const std::filesystem::path folder = std::filesystem::path(corpus != nullptr ? corpus : "") / "smbios";
    if (!std::filesystem::is_directory(folder))
        GTEST_SKIP() << "no data of real machines here";

    int virtualMachines = 0;
    int physicalMachines = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
    {
        if (entry.path().extension() != ".rsmb")
            continue;
        const std::string name = entry.path().filename().string();
        std::ifstream file(entry.path(), std::ios::binary);
        HostFacts facts;
        facts.firmware = factsOf({std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
        const HypervisorType type = hypervisorType(facts);
        const bool isVirtual = name.starts_with("vm-");
        EXPECT_EQ(type != HypervisorType::physical, isVirtual) << name << ": " << static_cast<int>(type);
        ++(isVirtual ? virtualMachines : physicalMachines);

        // With Hyper-V or memory integrity on, a physical machine stays one and a virtual one too.
        facts.hypervisor = {true, "Microsoft Hv", "", true};
        EXPECT_EQ(hypervisorType(facts), type) << name;

        // Under a thin hypervisor that no rule names, or marked as virtual by mistake.
        facts.hypervisor = {true, "ThinThinThin", "", false};
        EXPECT_EQ(hypervisorType(facts), type) << name;
        facts.hypervisor = {};
        facts.firmware.virtualMachine = true;
        EXPECT_EQ(hypervisorType(facts), type) << name;
    }
    EXPECT_GT(virtualMachines, 0);
    EXPECT_GT(physicalMachines, virtualMachines);
}

TEST(VmFirmwareFacts, TextsOfAMultiString)
{
    EXPECT_EQ(multiStringTexts(std::string("VBOX   - 1\0Oracle \0\0", 20)), (Texts{"VBOX   - 1", "Oracle"}));
    EXPECT_EQ(multiStringTexts(std::string("no end\0 \0last", 13)), (Texts{"no end", "last"}));
}
}
