#include "tests/unit/smbios/RealMachines.h"

#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "hw-inventory-impl/lib/SMBIOS/IdentifierText.h"
#include "hw-inventory-impl/lib/SMBIOS/Win32Parser.h"
#include "st-core/lib/Utf8.h"
#include "tests/fakes/FakeMachine.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

namespace smbios_test
{
namespace
{
using namespace HardwareInventory;
using namespace HardwareInventory::SMBIOS;
using nlohmann::json;
namespace fs = std::filesystem;

std::ifstream open(const fs::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    EXPECT_TRUE(stream) << path;
    return stream;
}

// dmidecode's fields of a structure, and the structure itself for those that dmidecode lacks.
struct Source
{
    const json& fields; // null: the structure is too short, or the socket empty
    const Struct& structure;

    std::wstring text(const char* name) const
    {
        const json& value = fields.at(name);
        return value.is_null() ? L"" : ZelStdCore::widen(value.get<std::string>());
    }
};

// Numbers that the PCI ID list contains win over strings.
RamInfo moduleOf(const Source& source, Version version)
{
    RamInfo module;
    module.name = source.text("Asset Tag");
    if (version >= Version{3, 2} && source.structure.length() >= 0x30)
    {
        const auto manufacturer = source.structure.field<std::uint16_t>(0x2C).value();
        module.manufacturer = PciIdDatabase::instance().vendorName(manufacturer);
        module.model = PciIdDatabase::instance().modelName(manufacturer, source.structure.field<std::uint16_t>(0x2E).value());
    }
    if (module.manufacturer.empty())
        module.manufacturer = vendorText(source.text("Manufacturer"));
    module.serialNumber = source.text("Serial Number");
    module.capacity = source.fields["Size"];
    module.deviceLocator = source.text("Locator");
    return module;
}

MotherBoardInfo boardOf(const Source& source)
{
    MotherBoardInfo board;
    board.name = source.text("Asset Tag");
    board.manufacturer = vendorText(source.text("Manufacturer"));
    board.model = modelText(source.text("Manufacturer"), source.text("Product Name"));
    board.serialNumber = source.text("Serial Number");
    return board;
}

// A socket without a processor is listed like others. Cores count from version 2.5 on.
CpuInfo processorOf(const Source& source, Version version)
{
    CpuInfo processor;
    processor.name = processor.model = source.text("Version");
    processor.manufacturer = vendorText(source.text("Manufacturer"));
    const json& status = source.fields["Status"];
    processor.status = status == 2 ? DeviceStatus::disabledByUser : status == 3 ? DeviceStatus::hasIssues : DeviceStatus::ok;
    processor.maxClockSpeed = source.fields["Max Speed"];
    if (version >= Version{2, 5} && !source.fields["Core Enabled"].is_null())
        processor.cores = source.fields["Core Enabled"];
    processor.socketDesignation = source.text("Socket Designation");
    processor.processorID = source.text("ID");
    return processor;
}

std::wstring biosOf(const Source& source)
{
    std::wstring bios = source.text("Vendor");
    bios += (bios.empty() ? L"" : L" ") + source.text("Version");
    return bios + (bios.empty() ? L"" : L", ") + source.text("Release Date");
}

// No name for a locked chassis, nor for the types that the standard added after the first 21.
std::wstring chassisOf(const Source& source)
{
    static const std::set<std::wstring> added{L"raid chassis",   L"rack mount chassis",
                                              L"sealed-case pc", L"multi-system",
                                              L"compactpci",     L"advancedtca",
                                              L"blade",          L"blade enclosing",
                                              L"tablet",         L"convertible",
                                              L"detachable",     L"iot gateway",
                                              L"embedded pc",    L"mini pc",
                                              L"stick pc",       L"<out of spec>"};
    std::wstring type = source.text("Type");
    std::ranges::transform(type, type.begin(), [](wchar_t letter) { return std::towlower(letter); });
    if (source.fields["Lock"] != "Not Present" || added.contains(type))
        return {};
    return type == L"sub chassis" ? L"subchassis" : type;
}

void add(RealMachine& machine, const Struct& structure, const json& fields)
{
    const std::uint8_t type = structure.type();
    const Version version{machine.table[1], machine.table[2]};
    const Source source{fields, structure};
    if (type == StructureType::memoryDevice && !source.fields["Size"].is_null())
        machine.memory.push_back(show(moduleOf(source, version)));
    // dmidecode prints no type of a board whose structure ends before it; the byte there decides all the same.
    if (type == StructureType::baseBoard && structure.byteAt(13) == 10)
        machine.boards.push_back(show(boardOf(source)));
    if (type == StructureType::processor && source.fields["Type"] == "Central Processor")
        machine.processors.push_back(show(processorOf(source, version)));
    if (type == StructureType::system)
        machine.system = vendorText(source.text("Manufacturer")) + L"|" + modelText(L"0x106B", source.text("Product Name")) + L"|" +
                         source.text("Serial Number");
    if (type == StructureType::bios)
        machine.bios = biosOf(source);
    if (type == StructureType::systemChassis && !chassisOf(source).empty())
        machine.chassis = chassisOf(source);
}

RealMachine load(fs::path path)
{
    auto raw = open(path);
    RealMachine machine;
    machine.name = path.stem().string();
    machine.table.assign(std::istreambuf_iterator<char>(raw), {});
    auto expected = open(path.replace_extension(".expect.json"));
    std::map<int, std::vector<json>> printed;
    for (json& structure : json::parse(expected))
        printed[structure["type"]].push_back(std::move(structure["fields"]));

    fakes::machine().smbiosTable = machine.table;
    std::map<int, std::size_t> seen;
    Win32Parser parser;
    for (int type = 0; type < 256; ++type)
        parser.registerHandler(static_cast<std::uint8_t>(type),
                               [&machine, &printed, &seen](const Version&, const Struct* structure)
                               {
                                   machine.broken = machine.broken || structure->length() < 4;
                                   const auto& fields = printed[structure->type()];
                                   const std::size_t index = seen[structure->type()]++;
                                   if (index < fields.size())
                                       add(machine, *structure, fields[index]);
                               });
    parser.read();

    auto print = open(path.replace_extension().replace_extension(".dmidecode.txt"));
    unsigned handle = 0, type = 0, length = 0;
    for (std::string line; std::getline(print, line);)
        if (std::sscanf(line.c_str(), "Handle 0x%x, DMI type %u, %u bytes", &handle, &type, &length) == 3)
            machine.headers.push_back(header(handle, type, length));
    return machine;
}
}

std::vector<RealMachine> realMachines()
{
    std::vector<RealMachine> machines;
    const char* const corpus = std::getenv("HW_INVENTORY_CORPUS");
    const fs::path folder = fs::path(corpus ? corpus : "") / "smbios";
    if (fs::is_directory(folder))
        for (const auto& entry : fs::directory_iterator(folder))
            if (entry.path().extension() == ".rsmb")
                machines.push_back(load(entry.path()));
    return machines;
}

std::string header(unsigned handle, unsigned type, unsigned length)
{
    return std::to_string(handle) + " " + std::to_string(type) + " " + std::to_string(length);
}
}
