#include "hw-inventory-impl/lib/SMBIOS/StructureDecoders.h"

#include "hw-inventory-impl/lib/NameTable.h"
#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "hw-inventory-impl/lib/SMBIOS/IdentifierText.h"

#include <array>
#include <charconv>

namespace HardwareInventory::SMBIOS
{
namespace
{
constexpr Version kVersion2_0{2, 0};
constexpr Version kVersion2_3{2, 3};
constexpr Version kVersion2_5{2, 5};
constexpr Version kVersion3_2{3, 2};

constexpr std::uint8_t kMotherboard = 10;
constexpr std::uint8_t kCentralProcessor = 3;

// A memory device's size word.
constexpr std::uint16_t kEmptySocket = 0;
constexpr std::uint16_t kUnknownSize = 0xFFFF;
constexpr std::uint16_t kExtendedSize = 0x7FFF; // also the bits of a size
constexpr std::uint16_t kSizeInKib = 0x8000;

// Numeric product names of a system are looked up under Apple.
constexpr wchar_t kAppleVendorId[] = L"0x106B";

constexpr auto kChassisNames = std::to_array<const wchar_t*>({
    L"other",
    L"unknown",
    L"desktop",
    L"low profile desktop",
    L"pizza box",
    L"mini tower",
    L"tower",
    L"portable",
    L"laptop",
    L"notebook",
    L"hand held",
    L"docking station",
    L"all in one",
    L"sub notebook",
    L"space-saving",
    L"lunch box",
    L"main server chassis",
    L"expansion chassis",
    L"subchassis",
    L"bus expansion chassis",
    L"peripheral chassis",
});
constexpr int kFirstChassis = 1;
static_assert(kChassisNames.size() == 21);

// A structure's strings, found through the fields that hold their numbers.
class Strings
{
public:
    explicit Strings(const Struct& structure) : structure_(structure), strings_(strings(structure)) {}

    const std::wstring& at(std::size_t offset) const
    {
        const std::size_t number = structure_.field<std::uint8_t>(offset).value_or(0);
        return number < strings_.size() ? strings_[number] : strings_.front();
    }

private:
    const Struct& structure_;
    std::vector<std::wstring> strings_;
};

void append(std::wstring& text, const wchar_t* separator, const std::wstring& part)
{
    if (!text.empty())
        text += separator;
    text += part;
}

std::wstring hexadecimal(std::uint64_t number)
{
    std::array<char, 2 * sizeof number> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return {digits.data(), end};
}

DeviceStatus processorStatus(std::uint8_t status)
{
    switch (status & 0x07)
    {
    case 2:
        return DeviceStatus::disabledByUser;
    case 3: // disabled by the firmware after a failed self-test
        return DeviceStatus::hasIssues;
    default:
        return DeviceStatus::ok;
    }
}

// In bytes.
std::uint64_t capacityOf(const Struct& memory, std::uint16_t size)
{
    if (size == kUnknownSize)
        return 0;
    if (size == kExtendedSize)
        return std::uint64_t{memory.field<std::uint32_t>(0x1C).value_or(0)} << 20;
    return static_cast<std::uint64_t>(size & kExtendedSize) << (size & kSizeInKib ? 10 : 20);
}

void nameModule(RamInfo& info, const Struct& memory)
{
    const auto manufacturer = memory.field<std::uint16_t>(0x2C);
    const auto product = memory.field<std::uint16_t>(0x2E);
    if (manufacturer)
        info.manufacturer = PciIdDatabase::instance().vendorName(*manufacturer);
    if (manufacturer && product)
        info.model = PciIdDatabase::instance().modelName(*manufacturer, *product);
}
}

std::optional<std::wstring> decodeBios(const Version& version, const Struct& structure)
{
    if (structure.type() != StructureType::bios || version < kVersion2_0)
        return std::nullopt;

    const Strings strings(structure);
    std::wstring bios = strings.at(0x04);
    append(bios, L" ", strings.at(0x05));
    append(bios, L", ", strings.at(0x08));
    return bios;
}

std::optional<SystemFacts> decodeSystem(const Version& version, const Struct& structure)
{
    if (structure.type() != StructureType::system || version < kVersion2_0)
        return std::nullopt;

    const Strings strings(structure);
    SystemFacts facts;
    facts.manufacturer = vendorText(strings.at(0x04));
    facts.model = modelText(kAppleVendorId, strings.at(0x05));
    facts.serialNumber = strings.at(0x07);
    return facts;
}

std::optional<MotherBoardInfo> decodeBaseBoard(const Version&, const Struct& structure)
{
    // The board type is read as it stands: structures of old firmware end before it.
    if (structure.type() != StructureType::baseBoard || structure.byteAt(0x0D) != kMotherboard)
        return std::nullopt;

    const Strings strings(structure);
    MotherBoardInfo board;
    board.name = strings.at(0x08);
    board.serialNumber = strings.at(0x07);
    board.manufacturer = vendorText(strings.at(0x04));
    board.model = modelText(strings.at(0x04), strings.at(0x05));
    return board;
}

std::optional<std::wstring> decodeChassis(const Version& version, const Struct& structure)
{
    if (structure.type() != StructureType::systemChassis)
        return std::nullopt;
    if (version < kVersion2_0)
        return std::wstring();

    // The lock bit is part of the number: a lockable chassis has no name.
    const std::uint8_t type = structure.field<std::uint8_t>(0x05).value_or(0);
    const wchar_t* const name = nameOf(kChassisNames, type, kFirstChassis, nullptr);
    return name ? std::optional<std::wstring>(name) : std::nullopt;
}

std::optional<CpuInfo> decodeProcessor(const Version& version, const Struct& structure)
{
    if (structure.type() != StructureType::processor || structure.field<std::uint8_t>(0x05) != kCentralProcessor)
        return std::nullopt;

    const Strings strings(structure);
    CpuInfo processor;
    processor.status = DeviceStatus::hasIssues;
    if (version >= kVersion2_0)
    {
        processor.name = strings.at(0x10);
        processor.manufacturer = vendorText(strings.at(0x07));
        processor.maxClockSpeed = structure.field<std::uint16_t>(0x14).value_or(0);
        processor.status = processorStatus(structure.field<std::uint8_t>(0x18).value_or(0));
    }
    processor.model = processor.name;
    if (version >= kVersion2_5)
        processor.cores = structure.field<std::uint8_t>(0x24).value_or(0); // the enabled ones
    if (const auto id = structure.field<std::uint64_t>(0x08))
        processor.processorID = hexadecimal(*id);
    processor.socketDesignation = strings.at(0x04);
    return processor;
}

std::optional<RamInfo> decodeMemoryDevice(const Version& version, const Struct& structure)
{
    const std::uint16_t size = structure.field<std::uint16_t>(0x0C).value_or(kEmptySocket);
    if (structure.type() != StructureType::memoryDevice || size == kEmptySocket)
        return std::nullopt;

    const Strings strings(structure);
    RamInfo memory;
    if (version >= kVersion3_2)
        nameModule(memory, structure);
    if (version >= kVersion2_3)
    {
        memory.name = strings.at(0x19);
        if (memory.manufacturer.empty())
            memory.manufacturer = vendorText(strings.at(0x17));
        memory.serialNumber = strings.at(0x18);
    }
    memory.capacity = capacityOf(structure, size);
    memory.deviceLocator = strings.at(0x10);
    return memory;
}
}
