#include "hw-inventory-impl/lib/SMBIOS/Win32Parser.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/Utf8.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/unit/smbios/SmbiosTest.h"

#include <gmock/gmock.h>

#include <numeric>
#include <stdexcept>

using namespace HardwareInventory;
using namespace HardwareInventory::SMBIOS;
using namespace smbios_test;

namespace
{
constexpr std::size_t kTableOffset = 0x1234;

template <class Number>
void put(Bytes& bytes, std::size_t offset, Number number)
{
    std::memcpy(&bytes.at(offset), &number, sizeof number);
}

Bytes checksummed(Bytes entryPoint, std::size_t checksumOffset)
{
    entryPoint[checksumOffset] -= std::accumulate(entryPoint.begin(), entryPoint.end(), std::uint8_t{0});
    return entryPoint;
}

Bytes entryPoint64(std::uint64_t address = 0xE0000 + kTableOffset, std::uint32_t length = 0x1000, const char* anchor = "_SM3_")
{
    Bytes bytes(0x18);
    std::memcpy(bytes.data(), anchor, 5);
    bytes[6] = 0x18;
    bytes[7] = 3;
    bytes[8] = 2;
    put(bytes, 0x0C, length);
    put(bytes, 0x10, address);
    return checksummed(bytes, 5);
}

Bytes entryPoint32(std::uint8_t length = 0x1F)
{
    Bytes bytes(length);
    std::memcpy(bytes.data(), "_SM_", 4);
    bytes[5] = length;
    bytes[6] = 2;
    bytes[7] = 8;
    if (length >= 0x1C)
    {
        put<std::uint16_t>(bytes, 0x16, 0x1000);
        put<std::uint32_t>(bytes, 0x18, 0xE0000 + kTableOffset);
    }
    return checksummed(bytes, 4);
}

Bytes with(Bytes bytes, std::size_t offset, std::uint8_t value)
{
    bytes.at(offset) = value;
    return bytes;
}

Bytes cut(Bytes bytes, std::size_t size)
{
    bytes.resize(size);
    return bytes;
}

// What becomes of an entry point: the structures walked, or the failure; then the log's lines.
std::string outcome(const Bytes& entryPoint)
{
    const fakes::LogCapture log;
    std::string result;
    Win32Parser parser;
    for (const std::uint8_t type : {11, 127})
        parser.registerHandler(type, [&result, type](const Version& version, const Struct*)
                               { result += std::to_string(type) + " of " + std::to_string(version.major) + "; "; });
    try
    {
        parser.parse(entryPoint);
    }
    catch (const ErrorHandling::Exception& error)
    {
        EXPECT_EQ(error.message(), errorText(error.code()));
        EXPECT_EQ(error.function(), L"HardwareInventory::SMBIOS::AbstractParser::parse");
        EXPECT_THAT(ZelStdCore::toUtf8(error.file()), testing::StartsWith("hw-inventory-impl\\lib\\SMBIOS\\AbstractParser"));
        result += ZelStdCore::toUtf8(error.message());
    }
    catch (const std::runtime_error& error)
    {
        result += error.what();
    }
    for (const auto& [level, line] : log.lines())
        result += std::to_string(level) + " " + line;
    return result;
}
}

TEST(EntryPoint, LeadsToItsTableOrToAClearFailure)
{
    Bytes& memory = fakes::machine().smbiosTable;
    memory.assign(0x20000, 0);
    const Bytes table = join({Structure(11, 5, {"A"}), Structure(127, 4)});
    std::copy(table.begin(), table.end(), memory.begin() + kTableOffset);
    put<std::uint8_t>(memory, 0x1FFFC, 11);
    put<std::uint8_t>(memory, 0x1FFFD, 4);

    const std::string walked64 = "11 of 3; 127 of 3; 0 SMBIOS Version: 3.2";
    const std::string walked32 = "11 of 2; 127 of 2; 0 SMBIOS Version: 2.8";
    const std::string magic = "bad SMBIOS magic";
    const std::string checksum = "bad SMBIOS checksum";
    const std::string unreadable = "failed to read SMBIOS table";
    const std::pair<Bytes, std::string> cases[] = {
        {entryPoint64(), walked64},
        {cut(entryPoint64(), 0x40), walked64}, // what is behind the length does not count
        {entryPoint64(0xFFFFC, 0xFFFFFFFF), walked64},
        {entryPoint64(0xE0000 + kTableOffset, 9), walked64}, // the table's end is not within its length
        {entryPoint64(0xE0000 + kTableOffset, 0), "127 of 3; 0 SMBIOS Version: 3.2"},
        {entryPoint32(), walked32},
        {entryPoint32(0x1C), walked32},
        {with(entryPoint64(), 5, 1), checksum},
        {cut(entryPoint64(), 0x17), checksum},
        {cut(entryPoint64(), 6), checksum},
        {with(entryPoint64(), 6, 0), walked64}, // the sum of nothing is right
        {with(cut(entryPoint64(), 0x17), 6, 0), unreadable},
        {with(cut(entryPoint64(), 7), 6, 0), unreadable},
        {entryPoint32(0x1B), unreadable},
        {entryPoint64(0, 0, "_SM3X"), magic},
        {cut(entryPoint32(), 3), magic},
        {{}, magic},
        {entryPoint64(std::uint64_t{1} << 32, 0x1000), unreadable},
    };
    for (const auto& [entryPoint, expected] : cases)
        EXPECT_EQ(outcome(entryPoint), expected) << testing::PrintToString(entryPoint);

    fakes::machine().fails = [](const char*) { return true; };
    EXPECT_EQ(outcome(entryPoint64()), "failed to get SMBIOS table size");
    fakes::machine().fails = [](const char* operation) { return operation == std::string("GetSystemFirmwareTable"); };
    EXPECT_EQ(outcome(entryPoint64()), unreadable);
    fakes::machine() = {};
}
