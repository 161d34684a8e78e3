#include "hw-inventory-impl/lib/PCI/BuiltInList.h"
#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "st-core/lib/RuntimeException.h"
#include "st-core/lib/Utf8.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/unit/pci/PlainPciIds.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>

using namespace HardwareInventory;
using namespace std::string_literals;

namespace
{
using Names = std::map<std::uint64_t, std::string>;
using Lines = std::vector<std::string>;

Names namesIn(const PciIdTable& table)
{
    Names names;
    for (const auto& entry : table.entries())
        names.emplace(entry.id, std::string(entry.name, std::ranges::find(entry.name, std::unreachable_sentinel, '\n')));
    return names;
}

// The warnings logged so far; a line of another level is marked.
Lines warningsOf(const fakes::LogCapture& log)
{
    Lines texts;
    for (const auto& [level, text] : log.lines())
        texts.push_back(level == 1 ? text : "level " + std::to_string(level) + ": " + text);
    return texts;
}

// The joined identifiers in hexadecimal and the name of each vendor, model and subsystem, then the warnings.
Lines linesOf(std::initializer_list<Names> tables, const Lines& warnings)
{
    Lines lines;
    for (const Names& names : tables)
    {
        for (const auto& [id, name] : names)
            lines.push_back((std::ostringstream() << std::hex << id << ' ' << name).str());
    }
    lines.insert(lines.end(), warnings.begin(), warnings.end());
    return lines;
}

Lines outcomeOf(const std::string& list)
{
    const fakes::LogCapture log;
    const std::vector<char> bytes(list.begin(), list.end()); // nothing readable follows them
    PciIdTables tables;
    parsePciIdList({bytes.data(), bytes.size()}, tables);
    return linesOf({namesIn(tables.vendors), namesIn(tables.models), namesIn(tables.subsystems)}, warningsOf(log));
}

std::uint16_t at(std::uint64_t id, int shift)
{
    return static_cast<std::uint16_t>(id >> shift);
}
}

TEST(PciIdList, NamesAndWarnings)
{
    const std::pair<std::string, Lines> cases[] = {
        // An entry belongs to the vendor and the device before it, a subsystem to the last device even behind a new vendor.
        {"10de  NV\n\t1b80  GTX\r\n\t\t1043 85aa  Strix\n", {"10de NV", "10de1b80 GTX\r", "10de1b80104385aa Strix"}},
        {"1  A\n\t2  a\n3  B\n\t\t4 5  s\n", {"1 A", "3 B", "10002 a", "3000200040005 s"}},
        // The later of two names stays, wherever the identifier belongs in the order.
        {"5  E\n\t2  old\n\t\t1 1  old\n\t\t1 1  new\n\t1  x\n\t2  new\n1  A\n5  F\n1  B\n",
         {"1 B", "5 F", "50001 x", "50002 new", "5000200010001 new"}},
        // Device classes pass for vendor 000C.
        {"C 01  Storage\n\t01  IDE\n\t\t80  Master\nC ff  Unassigned\r\n", {"c Unassigned\r", "c0001 IDE"}},
        // The list ends with its last line end, at 0xFF anywhere, at NUL at the beginning of a line.
        {"1  A\n2  B", {"1 A"}},
        {"1  A\n2  B\xFF\n3  C\n", {"1 A"}},
        {"1  A\0B\n2  C\n\0\n3  C\n"s, {"1 A\0B"s, "2 C"}},
        // Lines of another form are skipped silently.
        {"# 1  A\n\n2  A  B\n3  C   D\n4    E\n1   A\n\t2 b\n\t3  c\n\t\t4  s\n\t\t4 5 6  s\n\t\t4 5\n", {"1  A", "10003 c"}},
        // The hexadecimal prefix of an identifier counts.
        {"8  A\n10deX  B\n0xFfFf  C\n0x12  D\n00000034  E\n56.8  F\n\t2  a\n\t\t1043 8.6g  s\n",
         {"8 A", "12 D", "34 E", "56 F", "10de B", "ffff C", "560002 a", "56000210430008 s"}},
        {"1  A\n\t2  a\nzz10  B\n\t3  b\n\t\t4 5  s\n7  C\n\t8  d\n\t\t9 a  t\n",
         {"1 A", "7 C", "10002 a", "70008 d", "700080009000a t", "'zz10  B' (line 3) contains illegal value of vendor id: zz10",
          "ambigous device information at line 4: 3  b", "ambigous device subsystem information at line 5: 4 5  s"}},
        {"10000  A\n\t1  a\nfffffffffffffffffffff  B\n-1  C\n  D\n",
         {"'10000  A' (line 1) contains out of bound value of vendor id: 10000", "ambigous device information at line 2: 1  a",
          "'fffffffffffffffffffff  B' (line 3) contains out of bound value of vendor id: fffffffffffffffffffff",
          "'-1  C' (line 4) contains illegal value of vendor id: -1", "'  D' (line 5) contains illegal value of vendor id: "}},
        {"1  A\n\tx2  a\n\t\t3 4  s\n\t10000  b\n\t\t3 4  s\n\t6  d\n\t\t3 4  s\n",
         {"1 A", "10006 d", "1000600030004 s", "'x2  a' (line 2) contains illegal value of model id: x2",
          "ambigous device subsystem information at line 3: 3 4  s",
          "'10000  b' (line 4) contains out of range value of model id: 10000",
          "ambigous device subsystem information at line 5: 3 4  s"}},
        {"1  A\n\t2  a\n\t\tx 4  s\n\t\t3 y  s\r\n\t\t10000 y  s\n\t\t3 10000  s\n\t\t3 5  t\n",
         {"1 A", "10002 a", "1000200030005 t", "'x 4  s' (line 3) contains illegal value of subsystem vendor: 'x'",
          "'3 y  s\r' (line 4) contains illegal value of subsystem id: 'y'",
          "'10000 y  s' (line 5) contains out of range value of subsystem vendor: '10000'",
          "'3 10000  s' (line 6) contains out of range value of subsystem id: '10000'"}},
    };
    for (const auto& [list, outcome] : cases)
        EXPECT_EQ(outcomeOf(list), outcome) << list;
}

// Texts made of the pieces that matter, long enough that each piece occurs at each place of a block.
TEST(PciIdList, AgreesWithThePlainParserOnRandomTexts)
{
    const std::string pieces[] = {"10de",     "8086", "12345",   "C 01",        "zz",   "0",      " ",    "  ",
                                  "   ",      "\t",   "\t\t",    "\n",          "\n",   "\r\n",   "#",    "name",
                                  "\xC3\xBC", "\xFC", "x  y  z", "1043 8086  ", "\n\t", "\n\t\t", "\n000"};
    std::mt19937 random(1);
    for (int text = 0; text < 20000; ++text)
    {
        std::string list;
        for (unsigned left = random() % 120; left > 0; --left)
            list += pieces[random() % std::size(pieces)];
        if (random() % 8 == 0)
            list.insert(random() % (list.size() + 1), 1, random() % 2 ? '\xFF' : '\0');
        list += "\n";
        const plain::PciIds expected(list);
        ASSERT_EQ(outcomeOf(list), linesOf({expected.vendors, expected.models, expected.subsystems}, expected.warnings)) << list;
    }
}

TEST(PciIdTable, AddsASecondListToTheFirst)
{
    const std::string first = "0001  A\n\t0001  a\n0004  D\n";
    const std::string second = "0002  B\n0001  Z\n\t0001  z\n\t0002  y\n";
    PciIdTables tables;
    parsePciIdList(first, tables);
    parsePciIdList(second, tables);
    EXPECT_EQ(namesIn(tables.vendors), (Names{{1, "Z"}, {2, "B"}, {4, "D"}}));
    EXPECT_EQ(namesIn(tables.models), (Names{{0x10001, "z"}, {0x10002, "y"}}));
}

TEST(PciIdDatabase, FindsNamesAndWarnsOfUnknownOnes)
{
    const std::string list = "0001  A\n\t0002  a\n\t\t0003 0004  s\n00ad  \n";
    const fakes::LogCapture log;
    PciIdDatabase database;
    EXPECT_EQ(database.vendorName(1), L"");
    database.parse(list.data(), list.size());
    EXPECT_EQ(database.vendorName(1), L"A");
    EXPECT_EQ(database.vendorName(0xFFFE), L"");
    EXPECT_EQ(database.vendorName(0), L"");
    EXPECT_EQ(database.modelName(1, 2), L"a");
    EXPECT_EQ(database.modelName(0xAD, 0xCD), L"");
    EXPECT_EQ(database.subsystemModelName(1, 2, 3, 4), L"s");
    EXPECT_EQ(database.subsystemModelName(1, 2, 3, 0xBEEF), L"a");
    EXPECT_EQ(database.subsystemModelName(1, 0x1B80, 3, 4), L"");
    EXPECT_EQ(warningsOf(log),
              (Lines{"failed to lookup vendor 0001", "failed to lookup vendor FFFE", "failed to lookup vendor 0000",
                     "failed to lookup model (00AD:00CD)", "failed to lookup model (0001:0002:0003:BEEF), fallback to (0001:0002)",
                     "failed to lookup model (0001:1B80:0003:0004), fallback to (0001:1B80)",
                     "failed to lookup model (0001:1B80)"}));
}

// The file is unmapped before the names are looked up, and the sanitizers would notice. Names are UTF-8, else Latin-1.
TEST(PciIdDatabase, KeepsTheTextOfAFile)
{
    const auto path = std::filesystem::temp_directory_path() / ("pci-list-" + std::to_string(std::random_device()()));
    std::ofstream(path, std::ios::binary) << "0001  A\n00ab  Gr\xC3\xBC\xC3\x9F\x65 \xE2\x84\xA2\r\n"
                                             "00ac  Gr\xFC\xDF\x65\n00ad  \n";
    const PciIdDatabase database(path.wstring());
    std::filesystem::remove(path);
    EXPECT_EQ(database.vendorName(0xAC), L"Gr\u00FC\u00DFe");
    EXPECT_EQ(database.vendorNames(), (std::vector<std::wstring>{L"A", L"Gr\u00FC\u00DFe \u2122\r", L"Gr\u00FC\u00DFe", L""}));
    EXPECT_THROW(PciIdDatabase(path.wstring()), ZelStdCore::RuntimeException);
}

TEST(BuiltInPciIds, AgreeWithThePlainParser)
{
    const fakes::LogCapture log;
    const auto& database = PciIdDatabase::instance();
    EXPECT_EQ(&database, &PciIdDatabase::instance());
    const plain::PciIds expected{std::string(builtInPciIdList())};
    EXPECT_EQ(warningsOf(log), expected.warnings);
    EXPECT_EQ(database.vendorNames().size(), expected.vendors.size());
    for (const auto& [id, name] : expected.vendors)
        EXPECT_EQ(database.vendorName(at(id, 0)), ZelStdCore::widen(name));
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
    EXPECT_EQ(database.vendorName(0x000C), L"Unassigned class\r");
    EXPECT_EQ(database.modelName(0x10DE, 0x1B80), L"GP104 [GeForce GTX 1080]\r");
    EXPECT_EQ(database.vendorNames().size(), 2258u);
}
