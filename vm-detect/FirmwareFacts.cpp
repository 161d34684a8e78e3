#include "vm-detect/HostFacts.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace VmDetect
{
namespace
{
using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kHeadSize = 8;
constexpr std::size_t kTableLengthOffset = 4;
constexpr std::size_t kStructureHeaderSize = 4;

enum StructureType : std::uint8_t
{
    biosInformation = 0,
    systemInformation = 1,
    baseBoard = 2,
    chassis = 3,
    oemStrings = 11,
    endOfTable = 127
};

struct Structure
{
    Bytes formatted; // header included; empty for a structure that the table lacks
    std::vector<std::string_view> strings;
};

// Blanks and control bytes at either end are padding of the firmware.
std::string trimmed(std::string_view text)
{
    const auto isPadding = [](char letter) { return static_cast<unsigned char>(letter) <= ' '; };
    while (!text.empty() && isPadding(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isPadding(text.back()))
        text.remove_suffix(1);
    return std::string(text);
}

// The structures' bytes: no more than the head promises and no more than there are.
Bytes structureTable(Bytes rawTable)
{
    if (rawTable.size() < kHeadSize)
        return {};
    std::uint32_t length = 0;
    std::memcpy(&length, rawTable.data() + kTableLengthOffset, sizeof length);
    return rawTable.subspan(kHeadSize, std::min<std::size_t>(length, rawTable.size() - kHeadSize));
}

// Takes one text off the bytes with its zero. A text that the table's end cuts off is none, and takes all the bytes.
std::string_view takeText(Bytes& bytes)
{
    const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
    if (end == bytes.end())
    {
        bytes = {};
        return {};
    }
    const auto length = static_cast<std::size_t>(end - bytes.begin());
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), length);
    bytes = bytes.subspan(length + 1);
    return text;
}

// A set of texts ends with an empty one; a set without any text is two zeros.
std::vector<std::string_view> takeStrings(Bytes& bytes)
{
    std::vector<std::string_view> strings;
    if (!bytes.empty() && bytes.front() == 0)
    {
        bytes = bytes.subspan(std::min<std::size_t>(2, bytes.size()));
        return strings;
    }
    for (std::string_view text = takeText(bytes); !text.empty(); text = takeText(bytes))
        strings.push_back(text);
    return strings;
}

std::vector<Structure> structuresOf(Bytes table)
{
    std::vector<Structure> structures;
    while (table.size() >= kStructureHeaderSize && table[0] != endOfTable)
    {
        const std::size_t length = table[1];
        if (length < kStructureHeaderSize || length > table.size())
            break;
        Structure structure;
        structure.formatted = table.first(length);
        table = table.subspan(length);
        structure.strings = takeStrings(table);
        structures.push_back(std::move(structure));
    }
    return structures;
}

// A field beyond the structure's own length is absent, a string number beyond its set names nothing.
std::uint8_t byteAt(const Structure& structure, std::size_t offset)
{
    return offset < structure.formatted.size() ? structure.formatted[offset] : 0;
}

std::string textAt(const Structure& structure, std::size_t offset)
{
    const std::size_t number = byteAt(structure, offset);
    if (number == 0 || number > structure.strings.size())
        return {};
    return trimmed(structure.strings[number - 1]);
}

Structure firstOf(const std::vector<Structure>& structures, StructureType type)
{
    for (const Structure& structure : structures)
    {
        if (structure.formatted[0] == type)
            return structure;
    }
    return {};
}
}

FirmwareFacts firmwareFacts(std::span<const std::uint8_t> rawTable)
{
    const std::vector<Structure> structures = structuresOf(structureTable(rawTable));
    FirmwareFacts facts;

    const Structure bios = firstOf(structures, biosInformation);
    facts.biosVendor = textAt(bios, 0x04);
    facts.biosVersion = textAt(bios, 0x05);
    facts.virtualMachine = (byteAt(bios, 0x13) & 0x10) != 0;

    const Structure system = firstOf(structures, systemInformation);
    facts.maker = textAt(system, 0x04);
    facts.product = textAt(system, 0x05);
    facts.version = textAt(system, 0x06);

    const Structure board = firstOf(structures, baseBoard);
    facts.boardMaker = textAt(board, 0x04);
    facts.boardProduct = textAt(board, 0x05);

    for (const Structure& structure : structures)
    {
        if (structure.formatted[0] == chassis)
            facts.assetTags.push_back(textAt(structure, 0x08));
        if (structure.formatted[0] == oemStrings)
            std::transform(structure.strings.begin(), structure.strings.end(), std::back_inserter(facts.oemStrings), trimmed);
    }
    return facts;
}

std::vector<std::string> multiStringTexts(std::string_view value)
{
    std::vector<std::string> texts;
    for (std::size_t start = 0; start < value.size();)
    {
        const std::size_t end = std::min(value.find('\0', start), value.size());
        if (std::string text = trimmed(value.substr(start, end - start)); !text.empty())
            texts.push_back(std::move(text));
        start = end + 1;
    }
    return texts;
}
}
