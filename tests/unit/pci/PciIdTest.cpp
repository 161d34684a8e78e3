#include "hw-inventory-impl/lib/PCI/BuiltInList.h"
#include "st-core/lib/RuntimeException.h"
#include "tests/runner/LogCapture.h"
#include "tests/unit/pci/PlainPciIds.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

using HardwareInventory::PciIdDatabase;
using Lines = LogCapture::Lines;

TEST(PciIdDatabase, NamesAndWarnings)
{
    const std::string list = "1  A\n\t2  a\n\t\t3 4  s\nzz10  B\n\t3  b\n\t\t4 5  s\n10000  C\n0xfFfF  \nC 01  Class\n\tx2  d\n"
                             "\t10000  e\n\t6  f\r\n\t\tx 4  s\n\t\t3 y  s\n\t\t10000 y  s\n\t\t3 10000  s\n1  Z\n2  B";
    LogCapture log;
    PciIdDatabase database;
    database.parse(list.data(), list.size());
    EXPECT_EQ(log.lines(), (Lines{{1, "'zz10  B' (line 4) contains illegal value of vendor id: zz10"},
                                  {1, "ambigous device information at line 5: 3  b"},
                                  {1, "ambigous device subsystem information at line 6: 4 5  s"},
                                  {1, "'10000  C' (line 7) contains out of bound value of vendor id: 10000"},
                                  {1, "'x2  d' (line 10) contains illegal value of model id: x2"},
                                  {1, "'10000  e' (line 11) contains out of range value of model id: 10000"},
                                  {1, "'x 4  s' (line 13) contains illegal value of subsystem vendor: 'x'"},
                                  {1, "'3 y  s' (line 14) contains illegal value of subsystem id: 'y'"},
                                  {1, "'10000 y  s' (line 15) contains out of range value of subsystem vendor: '10000'"},
                                  {1, "'3 10000  s' (line 16) contains out of range value of subsystem id: '10000'"}}));
    log.clear();
    EXPECT_EQ(database.vendorNames(), (std::vector<std::wstring>{L"Z", L"Class", L""}));
    EXPECT_EQ(database.vendorName(2), L"");
    EXPECT_EQ(database.modelName(0xAD, 0xCD) + database.modelName(0xC, 6), L"f\r");
    EXPECT_EQ(database.subsystemModelName(1, 2, 3, 4) + database.subsystemModelName(0xC, 6, 3, 0), L"sf\r");
    EXPECT_EQ(database.subsystemModelName(1, 0x1B80, 3, 4), L"");
    EXPECT_EQ(log.lines(), (Lines{{1, "failed to lookup vendor 0002"},
                                  {1, "failed to lookup model (00AD:00CD)"},
                                  {1, "failed to lookup model (000C:0006:0003:0000), fallback to (000C:0006)"},
                                  {1, "failed to lookup model (0001:1B80:0003:0004), fallback to (0001:1B80)"},
                                  {1, "failed to lookup model (0001:1B80)"}}));
}

// The file is unmapped before the names are looked up, and the sanitizers would notice. A second list is added to the first.
TEST(PciIdDatabase, ReadsAFileAndASecondList)
{
    const auto path = std::filesystem::temp_directory_path() / ("pci-list-" + std::to_string(std::random_device()()));
    std::ofstream(path, std::ios::binary)
        << "0001  A\n\t0001  a\n00ab  Gr\xC3\xBC\xC3\x9F\x65 \xE2\x84\xA2\r\n00ac  Gr\xFC\xDF\x65\n";
    PciIdDatabase database(path.wstring());
    std::filesystem::remove(path);
    const std::string second = "0002  B\n0001  Z\n\t0001  z\n";
    database.parse(second.data(), second.size());
    EXPECT_EQ(database.vendorNames(), (std::vector<std::wstring>{L"Z", L"B", L"Gr\u00FC\u00DFe \u2122\r", L"Gr\u00FC\u00DFe"}));
    EXPECT_EQ(database.modelName(1, 1), L"z");
    EXPECT_THROW(PciIdDatabase(path.wstring()), ZelStdCore::RuntimeException);
}

TEST(PciIdDatabase, TheBuiltInListAgreesWithThePlainParser)
{
    const LogCapture log;
    const PciIdDatabase& database = PciIdDatabase::instance();
    const auto text = HardwareInventory::builtInPciIdList();
    const plain::PciIds expected{std::string(text)};
    EXPECT_EQ(&database, &PciIdDatabase::instance());
    EXPECT_TRUE(plain::haveSameNames(database, expected));
    EXPECT_EQ(log.lines().size(), expected.warnings.size());
    if (text.size() == 1'321'762) // the list of 2021.09.19
        EXPECT_EQ(database.modelName(0x10DE, 0x1B80) + std::to_wstring(expected.vendors.size()), L"GP104 [GeForce GTX 1080]\r2258");
}
