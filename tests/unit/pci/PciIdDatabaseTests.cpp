#include "hw-inventory-impl/lib/PCI/BuiltInList.h"
#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "tests/unit/pci/PciTest.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

using namespace HardwareInventory;
using namespace pci_tests;

namespace
{
    constexpr std::string_view list = "0001  A\n"
                                      "\t0002  a\n"
                                      "\t\t0003 0004  s\n"
                                      "00ab  Gr\xC3\xBC\xC3\x9F\x65 \xE2\x84\xA2\r\n"
                                      "00ac  Gr\xFC\xDF\x65\n"
                                      "00ad  \n";
}

TEST(PciIdDatabase, FindsNamesAndWarnsOfUnknownOnes)
{
    const fakes::LogCapture log;
    PciIdDatabase database;
    EXPECT_EQ(database.vendorName(1), L"");
    database.parse(list.data(), list.size());
    EXPECT_EQ(database.vendorName(1), L"A");
    EXPECT_EQ(database.vendorName(0xFFFE), L"");
    EXPECT_EQ(database.vendorName(0), L"");
    EXPECT_EQ(database.modelName(1, 2), L"a");
    EXPECT_EQ(database.modelName(0xAB, 0xCD), L"");
    EXPECT_EQ(database.subsystemModelName(1, 2, 3, 4), L"s");
    EXPECT_EQ(database.subsystemModelName(1, 2, 3, 0xBEEF), L"a");
    EXPECT_EQ(database.subsystemModelName(1, 0x1B80, 3, 4), L"");
    EXPECT_EQ(warningsOf(log), (Lines{"failed to lookup vendor 0001", "failed to lookup vendor FFFE",
                                      "failed to lookup vendor 0000", "failed to lookup model (00AB:00CD)",
                                      "failed to lookup model (0001:0002:0003:BEEF), fallback to (0001:0002)",
                                      "failed to lookup model (0001:1B80:0003:0004), fallback to (0001:1B80)",
                                      "failed to lookup model (0001:1B80)"}));
}

TEST(PciIdDatabase, WidensNamesFromUtf8ElseFromLatin1)
{
    PciIdDatabase database;
    database.parse(list.data(), list.size());
    EXPECT_EQ(database.vendorName(0xAB), L"Gr\u00FC\u00DFe \u2122\r");
    EXPECT_EQ(database.vendorName(0xAC), L"Gr\u00FC\u00DFe");
    EXPECT_EQ(database.vendorNames(), (std::vector<std::wstring>{L"A", L"Gr\u00FC\u00DFe \u2122\r", L"Gr\u00FC\u00DFe", L""}));
}

// The mapping is gone, unreadable under the sanitizers, when the names are asked for.
TEST(PciIdDatabase, KeepsTheTextOfAFile)
{
    const auto path = std::filesystem::temp_directory_path() / ("pci-list-" + std::to_string(std::random_device()()));
    std::ofstream(path, std::ios::binary) << list;
    const PciIdDatabase database(path.wstring());
    std::filesystem::remove(path);
    EXPECT_EQ(database.vendorName(0xAB), L"Gr\u00FC\u00DFe \u2122\r");
    EXPECT_EQ(database.subsystemModelName(1, 2, 3, 4), L"s");
    EXPECT_THROW(PciIdDatabase(path.wstring()), ZelStdCore::RuntimeException);
}

TEST(BuiltInPciIds, AgreeWithThePlainParser)
{
    const fakes::LogCapture log;
    const auto& database = PciIdDatabase::instance();
    EXPECT_EQ(&database, &PciIdDatabase::instance());
    const plain::PciIds expected{std::string(builtInPciIdList())};
    EXPECT_EQ(warningsOf(log), expected.warnings);

    const auto at = [](std::uint64_t id, int shift) { return static_cast<std::uint16_t>(id >> shift); };
    std::vector<std::wstring> vendors;
    for (const auto& [id, name] : expected.vendors)
    {
        vendors.push_back(ZelStdCore::widen(name));
        EXPECT_EQ(database.vendorName(at(id, 0)), vendors.back());
    }
    EXPECT_EQ(database.vendorNames(), vendors);
    for (const auto& [id, name] : expected.models)
        EXPECT_EQ(database.modelName(at(id, 16), at(id, 0)), ZelStdCore::widen(name));
    for (const auto& [id, name] : expected.subsystems)
        EXPECT_EQ(database.subsystemModelName(at(id, 48), at(id, 32), at(id, 16), at(id, 0)), ZelStdCore::widen(name));
    EXPECT_TRUE(log.lines().empty()) << log.lines().front().second;
}

TEST(BuiltInPciIds, HoldTheFactsOfTheirVersion)
{
    if (builtInPciIdList().size() != 1'321'762)
        GTEST_SKIP() << "another PCI ID list than that of 2021.09.19 is built in (" << builtInPciIdList().size() << " bytes)";
    const auto& database = PciIdDatabase::instance();
    EXPECT_EQ(database.vendorName(0x8086), L"Intel Corporation\r");
    EXPECT_EQ(database.vendorName(0x000C), L"Unassigned class\r");
    EXPECT_EQ(database.modelName(0x000C, 0x01), L"AI Inference Accelerator\r");
    EXPECT_EQ(database.modelName(0x10DE, 0x1B80), L"GP104 [GeForce GTX 1080]\r");
    EXPECT_EQ(database.vendorNames().size(), 2258u);
}
