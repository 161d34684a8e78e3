#include "machine/Recording.h"
#include "machine/Answers.h"
#include "machine/LinuxSmbios.h"

#include <gmock/gmock.h>

#include <fstream>

using namespace HardwareInventory;

namespace
{
std::string refusal(const std::string& text)
try
{
    return Recording::parse(text), "none";
}
catch (const std::runtime_error& error)
{
    return error.what();
}
}

// A question, an answer that it cannot have, and the reason; or a whole text and the reason.
TEST(Recording, RefusesWhatNoMachineAnswers)
{
    for (const Json& row : Json::parse(std::ifstream(REFUSED_JSON)))
    {
        Json recording = {{"format", "hw-machine recording"}, {"version", 1}, {"answers", Json::object()}};
        if (row.size() == 3)
            recording["answers"][std::string(row[0])] = row[1];
        EXPECT_THAT(refusal(row.size() == 3 ? recording.dump() : std::string(row[0])), testing::HasSubstr(std::string(row.back())))
            << row;
    }
    const Json twice = {{"format", "hw-machine recording"}, {"version", 1}, {"answers", {{"vm type", {{"inTurn", {3, 3}}}}}}};
    EXPECT_EQ(Recording::of(twice).document()["answers"], Json({{"vm type", 3}}));
    EXPECT_EQ(refusal(std::string((64 << 20) + 1, ' ')), "not a recording: larger than 64 MiB");
    EXPECT_EQ(refusal(std::string(100, '[')), "not a recording: nested too deep");
}

// The strings of structures, texts or bytes; a structure without any, and one that the table's end cuts off.
TEST(Recording, TakesAFirmwareTableApart)
{
    const Json table = {
        {"header", "00 03 02 00 20 00 00 00"},
        {"structures", {{"0b 05 01 00 02", "Zürich", {{"hex", "e4 20"}}}, {"02 04 02 00"}, {"03 05 03 00 01", "b"}}},
        {"rest", "04 05 04 00 01 41"}};
    EXPECT_EQ(Answers::write(Answers::read<std::vector<std::uint8_t>>(table)), table);
}

// Both kinds of entry point, and what is too short for one.
TEST(LinuxSmbios, HasTheHeaderOfWindows)
{
    using Bytes = std::vector<std::uint8_t>;
    const Bytes structures{127, 4, 1, 0, 0, 0};
    const Bytes table{0, 3, 2, 0, 6, 0, 0, 0, 127, 4, 1, 0, 0, 0};
    EXPECT_EQ(rawSmbiosTable(Bytes{'_', 'S', 'M', '3', '_', 9, 9, 3, 2}, structures), table);
    EXPECT_EQ(rawSmbiosTable(Bytes{'_', 'S', 'M', '_', 9, 9, 3, 2, 9}, structures), table);
    EXPECT_EQ(rawSmbiosTable(Bytes{'_', 'S', 'M', '3', '_', 9, 9, 3}, structures), Bytes());
    EXPECT_EQ(rawSmbiosTable(Bytes{'_', 'S', 'M', '3', '_', 9, 9, 3, 2}, {}), Bytes());
}
