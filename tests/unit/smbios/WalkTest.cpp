#include "hw-inventory-impl/lib/SMBIOS/Win32Parser.h"
#include "st-core/lib/Utf8.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/unit/smbios/SmbiosTest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>

using namespace HardwareInventory::SMBIOS;
using namespace smbios_test;
using testing::ElementsAre;

namespace
{
// Sees every structure of a table: "type@offset:strings", the offset counted from the first structure.
class Witness
{
public:
    explicit Witness(Bytes table)
    {
        fakes::machine().smbiosTable = std::move(table);
        for (unsigned type = 0; type <= std::numeric_limits<std::uint8_t>::max(); ++type)
            parser_.registerHandler(static_cast<std::uint8_t>(type),
                                    [this](const Version&, const Struct* structure) { see(*structure); });
        parser_.read();
    }

    std::vector<std::string> trace;

private:
    void see(const Struct& structure)
    {
        if (trace.empty())
            first_ = structure.bytes().data();
        std::string line = std::to_string(structure.type()) + "@" + std::to_string(structure.bytes().data() - first_);
        for (const std::wstring& text : strings(structure))
            line += ":" + ZelStdCore::toUtf8(text);
        trace.push_back(line);
    }

    Win32Parser parser_;
    const std::uint8_t* first_ = nullptr;
};

// Touches whatever a handler can reach, and checks that it lies in the table.
class Prober
{
public:
    explicit Prober(const Bytes& structures)
    {
        fakes::machine().smbiosTable = rawTable(3, 6, structures);
        for (unsigned type = 0; type <= std::numeric_limits<std::uint8_t>::max(); ++type)
            parser_.registerHandler(static_cast<std::uint8_t>(type),
                                    [this](const Version&, const Struct* structure) { probe(*structure); });
        parser_.read();
    }

    bool endedOnce() const { return ends_ == 1 && lastWasEnd_ && inside_; }
    std::size_t count() const { return count_; }

private:
    void probe(const Struct& structure)
    {
        if (count_++ == 0)
            table_ = structure.bytes();
        const std::size_t left = structure.bytes().size();
        inside_ = inside_ && left <= table_.size() && structure.bytes().data() == table_.data() + table_.size() - left;
        lastWasEnd_ = structure.type() == StructureType::endOfTable;
        ends_ += lastWasEnd_;
        for (const std::size_t offset : {0x00, 0x0D, 0xF7, 0xF8, 0xFF})
        {
            const bool within = offset + 8 <= std::min<std::size_t>(structure.length(), left);
            inside_ = inside_ && structure.field<std::uint64_t>(offset).has_value() == within;
            inside_ = inside_ && (offset < left || structure.byteAt(offset) == 0);
        }
        for (const std::string_view text : structure.strings(ZelStdCore::CutString::keep))
            inside_ = inside_ && text.find('\0') == std::string_view::npos &&
                      text.data() + text.size() <= reinterpret_cast<const char*>(table_.data() + table_.size());
    }

    Win32Parser parser_;
    std::span<const std::uint8_t> table_;
    std::size_t count_ = 0;
    int ends_ = 0;
    bool lastWasEnd_ = false;
    bool inside_ = true;
};

void expectEnd(const Bytes& structures)
{
    const Prober prober(structures);
    ASSERT_TRUE(prober.endedOnce()) << testing::PrintToString(structures);
    ASSERT_LE(prober.count(), structures.size() / 2 + 2) << testing::PrintToString(structures);
}
}

TEST(Walk, VisitsEveryStructureAndItsStringsUpToTheEndOfTable)
{
    EXPECT_THAT(Witness(rawTable(2, 7, std::vector<Structure>{})).trace, ElementsAre("127@0:"));
    EXPECT_THAT(Witness(rawTable(2, 7, {Structure(32, 11), Structure(11, 5, {"A", "BC"}), Structure(11, 5, {"\xFC"})})).trace,
                ElementsAre("32@0:", "11@13::A:BC", "11@24::\xC3\xBC", "127@32:"));
    // What follows the end does not count, nor does a length in the header that says otherwise.
    Bytes table = rawTable(2, 7, join({Structure(8, 4), Structure(127, 4), Structure(9, 4)}));
    table[4] = 2;
    EXPECT_THAT(Witness(table).trace, ElementsAre("8@0:", "127@6:"));
}

TEST(Walk, EndsBehindATableWithoutAnEnd)
{
    struct Case
    {
        Bytes structures;
        std::vector<std::string> trace;
    };
    const Bytes sound = Structure(11, 5, {"A", "BC"}).bytes();
    const Case cases[] = {
        {{}, {"127@0:"}},
        {sound, {"11@0::A:BC", "127@11:"}},
        {{sound.begin(), sound.begin() + 10}, {"11@0::A:BC", "127@10:"}}, // no zero behind the last string's own
        {{sound.begin(), sound.begin() + 8}, {"11@0::A:B", "127@8:"}},
        {{sound.begin(), sound.begin() + 5}, {"11@0:", "127@5:"}},
        {{sound.begin(), sound.begin() + 1}, {"11@0:", "127@1:"}},
        {{5, 200, 0, 0}, {"5@0:", "127@4:"}},                                  // formatted beyond the table
        {{8, 4, 0, 0, 0}, {"8@0:", "127@5:"}},                                 // one of the two zeros
        {{0, 0, 0, 0, 8, 4, 0, 0, 0, 0}, {"0@0:", "0@2:", "8@4:", "127@10:"}}, // scratch bytes
    };
    for (const Case& test : cases)
        EXPECT_EQ(Witness(rawTable(2, 7, test.structures)).trace, test.trace) << testing::PrintToString(test.structures);
}

TEST(Walk, StaysInsideWhateverTheBytesAre)
{
    // Every table of up to four bytes that mean something to a walk, and every length of a structure near the end.
    constexpr std::uint8_t meaningful[] = {0, 1, 2, 3, 4, 17, 'A', 127, 253, 254, 255};
    std::vector<Bytes> tables{{}};
    for (std::size_t next = 0; next < tables.size() && tables[next].size() < 4; ++next)
        for (const std::uint8_t byte : meaningful)
        {
            tables.push_back(tables[next]);
            tables.back().push_back(byte);
        }
    for (const Bytes& table : tables)
        expectEnd(table);

    for (unsigned length = 0; length <= 255; ++length)
        for (const std::uint8_t type : {11, 127})
            for (const std::size_t behind : {0, 1, 2, 3, 252, 253, 254, 300})
                for (const std::uint8_t byte : {0, 65})
                {
                    Bytes table{type, static_cast<std::uint8_t>(length)};
                    table.resize(table.size() + behind, byte);
                    expectEnd(table);
                }
}

TEST(Walk, RunsTheLastHandlerOfATypeAndWarnsOfMissingOnes)
{
    fakes::machine().smbiosTable = rawTable(2, 7,
                                            {Structure(17, 4), Structure(0, 4), Structure(42, 4), Structure(43, 4),
                                             Structure(125, 4), Structure(126, 4), Structure(128, 4), Structure(255, 4)});
    const fakes::LogCapture log;
    std::string ran;
    Win32Parser parser;
    parser.registerHandler(17, [&ran](const Version&, const Struct*) { ran += "first"; });
    parser.registerHandler(17, [&ran](const Version& version, const Struct*)
                           { ran += "second " + std::to_string(version.major) + "." + std::to_string(version.minor); });
    parser.read();

    EXPECT_EQ(ran, "second 2.7");
    const auto missing = [](const std::string& name, const std::string& type)
    { return std::pair(std::uint32_t{1}, "no registered '" + name + "' (" + type + ") SMBIOS structure handler"); };
    EXPECT_THAT(log.lines(), ElementsAre(std::pair(1u, "substitution of structure handler: memory device"), missing("BIOS", "0"),
                                         missing("management controller host", "42"), missing("invalid", "43"),
                                         missing("invalid", "125"), missing("inactive", "126"), missing("invalid", "128"),
                                         missing("invalid", "255"), missing("end-of-table", "127")));
}
