#include "vm-detect/HostFacts.h"

#include "st-core/lib/SmbiosStructure.h"

#include <algorithm>
#include <iterator>

namespace VmDetect
{
namespace
{
using Bytes = std::span<const std::uint8_t>;
using Structure = ZelStdCore::SmbiosStructure;
using StructureType = ZelStdCore::SmbiosType;

constexpr std::size_t kTableLengthOffset = 4;

// Spaces and control bytes at either end are padding of the firmware.
std::string trimmed(std::string_view text)
{
    const auto isPadding = [](char letter) { return static_cast<unsigned char>(letter) <= ' '; };
    while (!text.empty() && isPadding(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isPadding(text.back()))
        text.remove_suffix(1);
    return std::string(text);
}

// The structures' bytes: no more than the header promises and no more than there are.
Bytes structureTable(Bytes rawTable)
{
    if (rawTable.size() < ZelStdCore::kRawSmbiosHeaderSize)
        return {};
    const Bytes table = rawTable.subspan(ZelStdCore::kRawSmbiosHeaderSize);
    const auto length = ZelStdCore::numberAt<std::uint32_t>(rawTable, kTableLengthOffset).value_or(0);
    return table.first(std::min<std::size_t>(length, table.size()));
}

// The first malformed structure ends the table.
std::vector<Structure> structuresOf(Bytes table)
{
    std::vector<Structure> structures;
    for (Structure structure(table); structure.type() != StructureType::endOfTable && structure.isWhole();
         structure = structure.next())
        structures.push_back(structure);
    return structures;
}

std::vector<std::string_view> stringsOf(const Structure& structure)
{
    return structure.strings(ZelStdCore::CutString::drop);
}

// A field beyond the structure's own length is absent, a string number beyond its set is none.
std::uint8_t byteAt(const Structure& structure, std::size_t offset)
{
    return structure.field<std::uint8_t>(offset).value_or(0);
}

std::string stringAt(const Structure& structure, std::size_t offset)
{
    const std::size_t number = byteAt(structure, offset);
    const auto strings = stringsOf(structure);
    return number == 0 || number > strings.size() ? std::string() : trimmed(strings[number - 1]);
}

// Empty where the table lacks the type.
Structure firstOf(const std::vector<Structure>& structures, std::uint8_t type)
{
    const auto isOfType = [type](const Structure& structure) { return structure.type() == type; };
    const auto found = std::find_if(structures.begin(), structures.end(), isOfType);
    return found != structures.end() ? *found : Structure({});
}
}

FirmwareFacts firmwareFacts(std::span<const std::uint8_t> rawTable)
{
    const std::vector<Structure> structures = structuresOf(structureTable(rawTable));
    FirmwareFacts facts;

    const Structure bios = firstOf(structures, StructureType::bios);
    facts.biosVendor = stringAt(bios, 0x04);
    facts.biosVersion = stringAt(bios, 0x05);
    facts.virtualMachine = (byteAt(bios, 0x13) & 0x10) != 0;

    const Structure system = firstOf(structures, StructureType::system);
    facts.manufacturer = stringAt(system, 0x04);
    facts.product = stringAt(system, 0x05);
    facts.version = stringAt(system, 0x06);

    const Structure board = firstOf(structures, StructureType::baseBoard);
    facts.boardManufacturer = stringAt(board, 0x04);
    facts.boardProduct = stringAt(board, 0x05);

    for (const Structure& structure : structures)
    {
        if (structure.type() == StructureType::systemChassis)
            facts.assetTags.push_back(stringAt(structure, 0x08));
        if (structure.type() == StructureType::oemStrings)
            std::ranges::transform(stringsOf(structure), std::back_inserter(facts.oemStrings), trimmed);
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
