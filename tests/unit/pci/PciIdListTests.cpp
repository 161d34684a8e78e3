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
        Lines outcome; // "vendor[:device[:subsystem vendor:subsystem device]] name" for each entry, then the warnings
    };

    void append(Lines& outcome, const PciIdTable& table, int idCount)
    {
        for (const auto& [id, name] : namesIn(table))
        {
            std::string& line = outcome.emplace_back();
            for (int index = idCount; index-- > 0;)
            {
                char digits[8];
                std::snprintf(digits, sizeof digits, "%x%c", static_cast<unsigned>(id >> 16 * index & 0xFFFF), index ? ':' : ' ');
                line += digits;
            }
            line += name;
        }
    }

    template <std::size_t Count>
    void check(const ListCase (&cases)[Count])
    {
        for (const ListCase& one : cases)
        {
            const fakes::LogCapture log;
            PciIdTables tables;
            parsePciIdList(one.text, tables);
            Lines outcome;
            append(outcome, tables.vendors, 1);
            append(outcome, tables.models, 2);
            append(outcome, tables.subsystems, 4);
            std::ranges::copy(warningsOf(log), std::back_inserter(outcome));
            EXPECT_EQ(outcome, one.outcome) << one.title;
        }
    }
}

TEST(PciIdList, FilesEntriesUnderTheCurrentVendorAndDevice)
{
    check({
        {"vendor, device, subsystem", "10de  NV\n\t1b80  GTX\n\t\t1043 85aa  Strix\n",
         {"10de NV", "10de:1b80 GTX", "10de:1b80:1043:85aa Strix"}},
        {"a subsystem behind a new vendor belongs to it and to the last device", "1  A\n\t2  a\n3  B\n\t\t4 5  s\n",
         {"1 A", "3 B", "1:2 a", "3:2:4:5 s"}},
        {"the carriage return stays", "1  A\r\n\t2  a\r\n\r\n", {"1 A\r", "1:2 a\r"}},
        {"the later of two names stays, in any order",
         "5  E\n\t2  old\n\t\t1 1  old\n\t\t1 1  new\n\t1  x\n\t2  new\n1  A\n5  F\n1  B\n",
         {"1 B", "5 F", "5:1 x", "5:2 new", "5:2:1:1 new"}},
        {"descending", "3  C\n2  B\n1  A\n", {"1 A", "2 B", "3 C"}},
        {"device classes pass for vendor 000C",
         "1  A\nC 01  Storage\n\t00  SCSI\n\t01  IDE\n\t\t80  Master\nC ff  Unassigned\r\n",
         {"1 A", "c Unassigned\r", "c:0 SCSI", "c:1 IDE"}},
    });
}

TEST(PciIdList, EndsWhereTheTextEnds)
{
    check({
        {"empty", "", {}},
        {"no line end", "1  A", {}},
        {"last line without its end", "1  A\n2  B", {"1 A"}},
        {"0xFF within a line", "1  A\n2  B\xFF\n3  C\n", {"1 A"}},
        {"0xFF at the beginning of a line", "1  A\n\xFF\n3  C\n", {"1 A"}},
        {"NUL at the beginning of a line", "1  A\n\0\n3  C\n"s, {"1 A"}},
        {"NUL elsewhere", "1  A\0B\n3  C\n"s, {"1 A\0B"s, "3 C"}},
    });
}

TEST(PciIdList, SkipsLinesOfAnotherFormSilently)
{
    check({
        {"comments and empty lines", "# 1  A\n\n#\n", {}},
        {"one blank between the fields, the vendor before stays current", "1  A\n2 B\n\t3  b\n", {"1 A", "1:3 b"}},
        {"three fields", "1  A  B\n2  C   D\n3    E\n4  F    G\n", {}},
        {"three blanks: the name begins with one", "1   A\n", {"1  A"}},
        {"an empty name", "1  \n", {"1 "}},
        {"one field, the device before stays current", "1  A\n\t2  a\n\t3 b\n\t\t4 5  s\n", {"1 A", "1:2 a", "1:2:4:5 s"}},
        {"subsystem identifiers that are not two", "1  A\n\t2  a\n\t\t3  s\n\t\t3 4 5  s\n\t\t3 4\n", {"1 A", "1:2 a"}},
    });
}

TEST(PciIdList, ReadsTheHexadecimalPrefixOfIdentifiers)
{
    check({
        {"the longest prefix", "8  A\n10deX  B\nFfFf  C\n0x12  D\n00000034  E\n56.8  F\n",
         {"8 A", "12 D", "34 E", "56 F", "10de B", "ffff C"}},
        {"within four characters", "1  A\n\t2  a\n\t\t1043 8.6g  s\n", {"1 A", "1:2 a", "1:2:1043:8 s"}},
        {"no vendor until the next one", "1  A\n\t2  a\nzz10  B\n\t3  b\n\t\t4 5  s\n\t6  c\n7  C\n\t8  d\n\t\t9 a  t\n",
         {"1 A", "7 C", "1:2 a", "7:8 d", "7:8:9:a t", "'zz10  B' (line 3) contains illegal value of vendor id: zz10",
          "ambigous device information at line 4: 3  b", "ambigous device subsystem information at line 5: 4 5  s",
          "ambigous device information at line 6: 6  c"}},
        {"out of range", "12345  A\n\t1  a\nfffffffffffffffffffff  B\n100000000  C\n",
         {"'12345  A' (line 1) contains out of bound value of vendor id: 12345", "ambigous device information at line 2: 1  a",
          "'fffffffffffffffffffff  B' (line 3) contains out of bound value of vendor id: fffffffffffffffffffff",
          "'100000000  C' (line 4) contains out of bound value of vendor id: 100000000"}},
        {"neither blank nor sign may lead", " 1  A\n-1  B\n+1  C\n  D\n",
         {"' 1  A' (line 1) contains illegal value of vendor id:  1", "'-1  B' (line 2) contains illegal value of vendor id: -1",
          "'+1  C' (line 3) contains illegal value of vendor id: +1", "'  D' (line 4) contains illegal value of vendor id: "}},
        {"no device until the next one",
         "#\n\n1  A\n\tx2  a\n\t\t3 4  s\n\t10000  b\n\t\t3 4  s\n\t# 5  c\n\t6  d\n\t\t3 4  s\n",
         {"1 A", "1:6 d", "1:6:3:4 s", "'x2  a' (line 4) contains illegal value of model id: x2",
          "ambigous device subsystem information at line 5: 3 4  s",
          "'10000  b' (line 6) contains out of range value of model id: 10000",
          "ambigous device subsystem information at line 7: 3 4  s",
          "'# 5  c' (line 8) contains illegal value of model id: # 5"}},
        {"a bad subsystem leaves the device current",
         "1  A\n\t2  a\n\t\tx 4  s\n\t\t3 x\r\n\t\t3 y  s\r\n\t\t10000 y  s\n\t\t3 10000  s\n\t\t3 5  t\n",
         {"1 A", "1:2 a", "1:2:3:5 t", "'x 4  s' (line 3) contains illegal value of subsystem vendor: 'x'",
          "'3 y  s\r' (line 5) contains illegal value of subsystem id: 'y'",
          "'10000 y  s' (line 6) contains out of range value of subsystem vendor: '10000'",
          "'3 10000  s' (line 7) contains out of range value of subsystem id: '10000'"}},
        {"a device before any vendor", "\t1  a\r\n\t\t2 3  s\n",
         {"ambigous device information at line 1: 1  a\r", "ambigous device subsystem information at line 2: 2 3  s"}},
    });
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
