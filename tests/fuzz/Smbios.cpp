// Any bytes as the firmware's table, whole and cut somewhere. If the first byte is not 0, an entry point follows it, of as many
// bytes as its low six bits count; the highest bit corrects its sum. What follows the entry point is the physical memory.
#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/SMBIOS/SmbiosInventory.h"
#include "hw-inventory-impl/lib/SMBIOS/Win32Parser.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "tests/fuzz/Target.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <stdexcept>

namespace
{
using namespace HardwareInventory::SMBIOS;
using Bytes = std::span<const std::uint8_t>;
using Lines = std::vector<std::wstring>;

std::vector<std::uint8_t> firmware;

// Its handlers touch whatever they can reach of a structure and require that it lies in the table.
struct Walk : Win32Parser
{
    Lines places; // of the structures in the table
    bool ended = false;

    explicit Walk(Bytes memory)
    {
        firmware.assign(memory.begin(), memory.end());
        for (unsigned type = 0; type < 256; ++type)
            registerHandler(static_cast<std::uint8_t>(type), [this](const auto&, const Struct* structure) { probe(*structure); });
    }

private:
    void probe(const Struct& structure)
    {
        const Bytes bytes = structure.bytes();
        table_ = places.empty() ? bytes : table_;
        const std::size_t place = table_.size() - bytes.size();
        require(bytes.data() == table_.data() + place && place == next_, "a structure stands behind the last one");
        require(!ended, "the end of the table ends the walk");
        places.push_back(std::to_wstring(place));
        ended = structure.type() == StructureType::endOfTable;
        const std::size_t formatted = std::min<std::size_t>(structure.length(), bytes.size());
        for (const std::size_t offset : {0x00, 0x0D, 0xF7, 0xF8, 0xFF})
        {
            require(structure.field<std::uint64_t>(offset).has_value() == (offset + 8 <= formatted), "a field is formatted");
            require(structure.byteAt(offset) == (offset < bytes.size() ? bytes[offset] : 0), "a byte lies in the table");
        }
        const std::string_view rest(reinterpret_cast<const char*>(bytes.data()) + formatted, bytes.size() - formatted);
        const auto zeros = rest.starts_with('\0') ? 0 : rest.find(std::string_view("\0\0", 2));
        next_ = zeros == rest.npos ? table_.size() : std::min(table_.size(), place + formatted + zeros + 2);
        std::size_t end = 0;
        for (const std::string_view text : structure.strings(ZelStdCore::CutString::keep))
        {
            require(text.data() == rest.data() + end && !text.empty() && text.find('\0') == text.npos, "the strings lie in a row");
            end += text.size() + 1;
        }
        require(end < rest.size() ? rest[end] == '\0' : end <= rest.size() + 1, "the table or an empty string ends the strings");
    }

    std::size_t next_ = 0;
    Bytes table_;
};

// The places of the structures, then boards, processors and modules; nothing of a table that is refused.
std::array<Lines, 4> decode(Bytes memory, Bytes entryPoint = {})
try
{
    Walk walk(memory);
    entryPoint.empty() ? walk.read() : walk.parse(entryPoint);
    require(walk.ended, "the walk ends");
    const auto linesOf = [](const auto& records)
    {
        Lines lines;
        for (const auto& record : records)
            lines.push_back(record.name + L"|" + record.manufacturer + L"|" + record.model);
        return lines;
    };
    const SmbiosInventory inventory;
    return {walk.places, linesOf(inventory.baseBoards()), linesOf(inventory.processors()), linesOf(inventory.memoryModules())};
}
catch (const HardwareInventory::ErrorHandling::Exception&)
{
    return require(!entryPoint.empty(), "a table has no entry point"), std::array<Lines, 4>();
}
catch (const std::exception& error)
{
    const bool isIdentifier = dynamic_cast<const std::out_of_range*>(&error) != nullptr; // of more than 32 bits
    const bool isWhole = entryPoint.empty() && memory.size() >= ZelStdCore::kRawSmbiosHeaderSize;
    return require(isIdentifier || !isWhole, "a table with a header is read"), std::array<Lines, 4>();
}
}

namespace HardwareInventory::Platform
{
std::uint32_t enumerateFirmwareTables(std::uint32_t)
{
    return firmware.empty() ? 0 : 4;
}

Result<std::vector<std::uint8_t>, FirmwareStep> firmwareTable(std::uint32_t, std::uint32_t)
{
    return firmware;
}
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Bytes bytes(data, size);
    if (size != 0 && data[0] != 0)
    {
        const std::size_t length = std::min<std::size_t>(data[0] & 0x3F, size - 1);
        std::vector<std::uint8_t> entryPoint(data + 1, data + 1 + length);
        const std::size_t sum = length > 3 && entryPoint[3] == '3' ? 5 : 4; // the length to sum up follows
        if ((data[0] & 0x80) != 0 && length > sum + 1 && entryPoint[sum + 1] <= length)
            entryPoint[sum] -= std::accumulate(entryPoint.begin(), entryPoint.begin() + entryPoint[sum + 1], std::uint8_t{0});
        return decode(bytes.subspan(1 + length), entryPoint), 0;
    }
    const auto whole = decode(bytes);
    const auto cut = decode(bytes.first(std::accumulate(data, data + size, std::size_t{0}) % (size + 1)));
    for (std::size_t list = 0; !whole[0].empty() && list < whole.size(); ++list)
        require(cut[list].empty() || (cut[list].size() <= whole[list].size() &&
                                      std::equal(cut[list].begin(), cut[list].end() - 1, whole[list].begin())),
                "a cut changes what it cuts alone");
    return 0;
}
