#include "tests/unit/pci/PciTest.h"

#include <gmock/gmock.h>

#include <random>
#include <string_view>

using namespace HardwareInventory;
using namespace pci_tests;
using namespace std::string_literals;

namespace
{
    struct ListCase
    {
        const char* title;
        std::string text;
        Names vendors;
        Names models;
        Names subsystems;
        Lines warnings;
    };

    void check(const ListCase& one)
    {
        SCOPED_TRACE(one.title);
        const fakes::LogCapture log;
        PciIdTables tables;
        parsePciIdList(one.text, tables);
        EXPECT_EQ(namesIn(tables.vendors), one.vendors);
        EXPECT_EQ(namesIn(tables.models), one.models);
        EXPECT_EQ(namesIn(tables.subsystems), one.subsystems);
        EXPECT_EQ(warningsOf(log), one.warnings);
    }
}

TEST(PciIdList, FilesEntriesUnderTheCurrentVendorAndDevice)
{
    const ListCase cases[] = {
        {"vendor, device, subsystem", "10de  NV\n\t1b80  GTX\n\t\t1043 85aa  Strix\n", {{0x10DE, "NV"}}, {{0x10DE1B80, "GTX"}},
         {{0x10DE1B80104385AA, "Strix"}}, {}},
        {"a subsystem behind a new vendor belongs to it and to the last device",
         "0001  A\n\t0002  a\n0003  B\n\t\t0004 0005  s\n", {{1, "A"}, {3, "B"}}, {{0x10002, "a"}},
         {{0x0003000200040005, "s"}}, {}},
        {"the carriage return stays", "0001  A\r\n\t0002  a\r\n\r\n", {{1, "A\r"}}, {{0x10002, "a\r"}}, {}, {}},
        {"the later of two names stays, in any order",
         "0005  E\n\t0002  old\n\t\t0001 0001  old\n\t\t0001 0001  new\n\t0001  x\n\t0002  new\n0001  A\n0005  F\n0001  B\n",
         {{1, "B"}, {5, "F"}}, {{0x50001, "x"}, {0x50002, "new"}}, {{0x0005000200010001, "new"}}, {}},
        {"descending", "0003  C\n0002  B\n0001  A\n", {{1, "A"}, {2, "B"}, {3, "C"}}, {}, {}, {}},
        {"device classes pass for vendor 000C",
         "0001  A\nC 01  Mass storage\n\t00  SCSI\n\t01  IDE\n\t\t80  Master\nC ff  Unassigned\r\n",
         {{1, "A"}, {0xC, "Unassigned\r"}}, {{0xC0000, "SCSI"}, {0xC0001, "IDE"}}, {}, {}},
    };
    for (const ListCase& one : cases)
        check(one);
}

TEST(PciIdList, EndsWhereTheTextEnds)
{
    const ListCase cases[] = {
        {"empty", "", {}, {}, {}, {}},
        {"no line end", "0001  A", {}, {}, {}, {}},
        {"last line without its end", "0001  A\n0002  B", {{1, "A"}}, {}, {}, {}},
        {"0xFF within a line", "0001  A\n0002  B\xFF\n0003  C\n", {{1, "A"}}, {}, {}, {}},
        {"0xFF at the beginning of a line", "0001  A\n\xFF\n0003  C\n", {{1, "A"}}, {}, {}, {}},
        {"NUL at the beginning of a line", "0001  A\n\0\n0003  C\n"s, {{1, "A"}}, {}, {}, {}},
        {"NUL elsewhere", "0001  A\0B\n0003  C\n"s, {{1, "A\0B"s}, {3, "C"}}, {}, {}, {}},
    };
    for (const ListCase& one : cases)
        check(one);
}

TEST(PciIdList, SkipsLinesOfAnotherFormSilently)
{
    const ListCase cases[] = {
        {"comments and empty lines", "# 0001  A\n\n#\n", {}, {}, {}, {}},
        {"one blank between the fields, the vendor before stays current", "0001  A\n0002 B\n\t0003  b\n", {{1, "A"}},
         {{0x10003, "b"}}, {}, {}},
        {"three fields", "0001  A  B\n0002  C   D\n0003    E\n0004  F    G\n", {}, {}, {}, {}},
        {"three blanks: the name begins with one", "0001   A\n", {{1, " A"}}, {}, {}, {}},
        {"an empty name", "0001  \n", {{1, ""}}, {}, {}, {}},
        {"a device with one field, the device before stays current",
         "0001  A\n\t0002  a\n\t0003 b\n\t\t0004 0005  s\n", {{1, "A"}}, {{0x10002, "a"}}, {{0x0001000200040005, "s"}}, {}},
        {"subsystem identifiers that are not two",
         "0001  A\n\t0002  a\n\t\t0003  s\n\t\t0003 0004 0005  s\n\t\t0003 4\n", {{1, "A"}}, {{0x10002, "a"}}, {}, {}},
    };
    for (const ListCase& one : cases)
        check(one);
}

TEST(PciIdList, ReadsTheHexadecimalPrefixOfIdentifiers)
{
    const ListCase cases[] = {
        {"the longest prefix", "8  A\n10deX  B\nFfFf  C\n0x12  D\n00000034  E\n56.8  F\n",
         {{8, "A"}, {0x10DE, "B"}, {0xFFFF, "C"}, {0x12, "D"}, {0x34, "E"}, {0x56, "F"}}, {}, {}, {}},
        {"within four characters", "0001  A\n\t0002  a\n\t\t1043 8.6g  s\n", {{1, "A"}}, {{0x10002, "a"}},
         {{0x0001000210430008, "s"}}, {}},
        {"no vendor until the next one",
         "0001  A\n\t0002  a\nzz10  B\n\t0003  b\n\t\t0004 0005  s\n\t0006  c\n0007  C\n\t0008  d\n\t\t0009 000a  t\n",
         {{1, "A"}, {7, "C"}}, {{0x10002, "a"}, {0x70008, "d"}}, {{0x000700080009000A, "t"}},
         {"'zz10  B' (line 3) contains illegal value of vendor id: zz10", "ambigous device information at line 4: 0003  b",
          "ambigous device subsystem information at line 5: 0004 0005  s", "ambigous device information at line 6: 0006  c"}},
        {"out of range", "12345  A\n\t0001  a\nfffffffffffffffffffff  B\n100000000  C\n", {}, {}, {},
         {"'12345  A' (line 1) contains out of bound value of vendor id: 12345", "ambigous device information at line 2: 0001  a",
          "'fffffffffffffffffffff  B' (line 3) contains out of bound value of vendor id: fffffffffffffffffffff",
          "'100000000  C' (line 4) contains out of bound value of vendor id: 100000000"}},
        {"neither blank nor sign may lead", " 001  A\n-001  B\n+001  C\n  D\n", {}, {}, {},
         {"' 001  A' (line 1) contains illegal value of vendor id:  001",
          "'-001  B' (line 2) contains illegal value of vendor id: -001",
          "'+001  C' (line 3) contains illegal value of vendor id: +001",
          "'  D' (line 4) contains illegal value of vendor id: "}},
        {"no device until the next one",
         "# comment\n\n0001  A\n\tx002  a\n\t\t0003 0004  s\n"
         "\t10000  b\n\t\t0003 0004  s\n\t# 5  c\n\t0006  d\n\t\t0003 0004  s\n",
         {{1, "A"}}, {{0x10006, "d"}}, {{0x0001000600030004, "s"}},
         {"'x002  a' (line 4) contains illegal value of model id: x002",
          "ambigous device subsystem information at line 5: 0003 0004  s",
          "'10000  b' (line 6) contains out of range value of model id: 10000",
          "ambigous device subsystem information at line 7: 0003 0004  s",
          "'# 5  c' (line 8) contains illegal value of model id: # 5"}},
        {"a bad subsystem leaves the device current",
         "0001  A\n\t0002  a\n\t\tx 0004  s\n\t\t0003 x\r\n\t\t0003 y  s\r\n"
         "\t\t10000 y  s\n\t\t0003 10000  s\n\t\t0003 0005  t\n",
         {{1, "A"}}, {{0x10002, "a"}}, {{0x0001000200030005, "t"}},
         {"'x 0004  s' (line 3) contains illegal value of subsystem vendor: 'x'",
          "'0003 y  s\r' (line 5) contains illegal value of subsystem id: 'y'",
          "'10000 y  s' (line 6) contains out of range value of subsystem vendor: '10000'",
          "'0003 10000  s' (line 7) contains out of range value of subsystem id: '10000'"}},
        {"a device before any vendor", "\t0001  a\r\n\t\t0002 0003  s\n", {}, {}, {},
         {"ambigous device information at line 1: 0001  a\r", "ambigous device subsystem information at line 2: 0002 0003  s"}},
    };
    for (const ListCase& one : cases)
        check(one);
}

namespace
{
    void compareWithPlain(const std::string& text)
    {
        const plain::PciIds expected(text);
        const fakes::LogCapture log;
        const std::vector<char> bytes(text.begin(), text.end()); // nothing readable follows them
        PciIdTables tables;
        parsePciIdList({bytes.data(), bytes.size()}, tables);
        ASSERT_EQ(namesIn(tables.vendors), expected.vendors) << testing::PrintToString(text);
        ASSERT_EQ(namesIn(tables.models), expected.models) << testing::PrintToString(text);
        ASSERT_EQ(namesIn(tables.subsystems), expected.subsystems) << testing::PrintToString(text);
        ASSERT_EQ(warningsOf(log), expected.warnings) << testing::PrintToString(text);
    }
}

// Texts made of the pieces that matter, long enough that each piece comes to lie at each place of a block.
TEST(PciIdList, AgreesWithThePlainParserOnRandomTexts)
{
    const std::string pieces[] = {"10de", "8086",  "12345", "C 01", "zz",  "0",    " ",    "  ",       "   ",     "\t",
                                  "\t\t", "\n",    "\n",    "\r\n", "#",   "name", "\xC3\xBC", "\xFC", "x  y  z", "1043 8086  ",
                                  "\n\t", "\n\t\t", "\n000"};
    std::mt19937 random(1);
    for (int text = 0; text < 20000 && !HasFatalFailure(); ++text)
    {
        std::string list;
        for (unsigned left = random() % 120; left > 0; --left)
            list += pieces[random() % std::size(pieces)];
        if (random() % 8 == 0)
            list.insert(random() % (list.size() + 1), 1, random() % 2 ? '\xFF' : '\0');
        compareWithPlain(list + "\n");
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
