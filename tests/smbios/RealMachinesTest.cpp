#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "hw-inventory-impl/lib/SMBIOS/IdentifierText.h"
#include "hw-inventory-impl/lib/SMBIOS/SmbiosInventory.h"
#include "hw-inventory-impl/lib/SMBIOS/Win32Parser.h"
#include "machine/Answers.h"
#include "st-core/lib/Utf8.h"
#include "tests/runner/LogCapture.h"
#include "tests/runner/Replay.h"
#include "vm-detect/HostFacts.h"
#include "vm-detect/Rules.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <regex>

using namespace HardwareInventory;
using namespace HardwareInventory::SMBIOS;
using ZelStdCore::toUtf8;
using ZelStdCore::widen;

namespace
{
void answer(const Json& answers)
{
    setMachine({{"format", "hw-machine recording"}, {"version", 1}, {"answers", answers}});
}

// dmidecode prints a dot for what cannot be printed.
std::wstring printed(const Json& facts)
{
    static const std::regex control("\\\\(u00..|[bfnrt])");
    return std::regex_replace(widen(std::regex_replace(facts.dump(1), control, ".")), std::wregex(L"[^\n -~]"), L".");
}

// Adds the facts that dmidecode's fields of a structure give. Where the inventory differs by intent, its rule applies.
void add(Json& all, const Version& version, const Struct& structure, Json fields)
{
    const auto text = [&fields](const char* name) { return fields[name].is_null() ? "" : fields[name].get<std::string>(); };
    const auto vendor = [&text] { return toUtf8(vendorText(widen(text("Manufacturer")))); };
    const auto model = [&text](const std::string& vendor) { return toUtf8(modelText(widen(vendor), widen(text("Product Name")))); };
    const std::uint8_t type = structure.type();
    if (type == StructureType::bios)
        all["biosVersion"] = text("Vendor") + " " + text("Version") + ", " + text("Release Date");
    if (type == StructureType::system)
        all.update(facts("manufacturer", vendor(), "model", model("0x106B"), "serialNumber", text("Serial Number")));
    // dmidecode prints no type of a board whose structure ends before it; the byte there decides all the same.
    if (type == StructureType::baseBoard && structure.byteAt(13) == 10)
        all["boards"].push_back(facts("name", text("Asset Tag"), "manufacturer", vendor(), "model", model(text("Manufacturer")),
                                      "serialNumber", text("Serial Number")));
    // No name for a locked chassis, nor for the types that the standard added after the first 21.
    std::string chassis = type == StructureType::systemChassis && fields["Lock"] == "Not Present" ? text("Type") : "";
    std::ranges::transform(chassis, chassis.begin(), [](char letter) { return std::tolower(letter); });
    if (!chassis.empty() && chassis != "rack mount chassis" && chassis != "multi-system" && chassis != "mini pc")
        all["chassisType"] = chassis;
    // A socket without a processor is listed like others. Cores count from version 2.5 on.
    const char* const status = fields["Status"] == 2 ? "disabled by user" : fields["Status"] == 3 ? "has issues" : "ok";
    if (type == StructureType::processor && fields["Type"] == "Central Processor")
        all["processors"].push_back(facts("name", text("Version"), "model", text("Version"), "manufacturer", vendor(), "status",
                                          status, "maxClockSpeed", fields["Max Speed"], "processorID", text("ID"),
                                          "socketDesignation", text("Socket Designation"), "cores",
                                          version >= Version{2, 5} ? fields["Core Enabled"] : Json()));
    if (type == StructureType::memoryDevice && !fields["Size"].is_null())
    {
        // Numbers that the PCI ID list contains win over strings.
        const bool hasNumbers = version >= Version{3, 2} && structure.length() >= 0x30;
        const auto number = [&structure](std::size_t at) { return structure.field<std::uint16_t>(at).value(); };
        const PciIdDatabase& list = PciIdDatabase::instance();
        const std::string manufacturer = hasNumbers ? toUtf8(list.vendorName(number(0x2C))) : "";
        const std::string name = hasNumbers ? toUtf8(list.modelName(number(0x2C), number(0x2E))) : "";
        all["modules"].push_back(facts("name", text("Asset Tag"), "manufacturer", manufacturer.empty() ? vendor() : manufacturer,
                                       "model", name, "serialNumber", text("Serial Number"), "capacity", fields["Size"],
                                       "deviceLocator", text("Locator")));
    }
}

void expectLikeDmidecode(std::filesystem::path path)
{
    SCOPED_TRACE(path);
    std::ifstream raw(path, std::ios::binary);
    const std::vector<std::uint8_t> table(std::istreambuf_iterator<char>(raw), {});
    const VmDetect::FirmwareFacts firmware = VmDetect::firmwareFacts(table);
    const auto vmType = VmDetect::hypervisorType({{}, firmware, {}});
    EXPECT_EQ(vmType != VmDetect::HypervisorType::physical, path.filename().string().starts_with("vm-"));
    // With Hyper-V or memory integrity on, and under a thin hypervisor that no rule names.
    EXPECT_EQ(VmDetect::hypervisorType({{true, "Microsoft Hv", "", true}, firmware, {}}), vmType);
    EXPECT_EQ(VmDetect::hypervisorType({{true, "ThinThinThin", "", false}, firmware, {}}), vmType);
    answer({{"firmware tables RSMB", 1}, {"firmware table RSMB 0", Answers::write(table)}});
    Json found = described("firmware");

    const Json structures = Json::parse(std::ifstream(path.replace_extension(".expect.json")));
    auto next = structures.begin();
    Json expected;
    bool broken = false; // a structure shorter than its own header: dmidecode stops there, the walk does not
    const auto handle = [&](const Version& version, const Struct* structure)
    {
        broken = broken || structure->length() < 4;
        if (broken || next == structures.end() || (*next)["type"] != structure->type())
            return;
        EXPECT_TRUE((*next)["handle"] == structure->handle() && (*next)["length"] == structure->length()) << *next;
        add(expected, version, *structure, (*next++)["fields"]);
    };
    Win32Parser parser;
    for (int type = 0; type < 256; ++type)
        parser.registerHandler(std::uint8_t(type), handle);
    parser.read();
    EXPECT_TRUE(next == structures.end());
    for (const char* name : {"modules", "boards", "processors", "biosVersion"})
        if (broken && expected.contains(name) && expected[name].is_array()) // what stands behind is taken for further structures
            found[name].get_ref<Json::array_t&>().resize(expected[name].size());
        else if (broken)
            found.erase(name), expected.erase(name);
    EXPECT_EQ(printed(found), printed(expected));
}
}

TEST(RealMachines, GiveWhatDmidecodePrints)
{
    const char* const corpus = std::getenv("HW_INVENTORY_CORPUS");
    const std::filesystem::path folder = std::filesystem::path(corpus ? corpus : "") / "smbios";
    if (!std::filesystem::is_directory(folder))
        GTEST_SKIP() << "HW_INVENTORY_CORPUS names no data of real machines";
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".rsmb")
            expectLikeDmidecode(entry.path());
}

TEST(SmbiosTable, RunsTheLastHandlerOfATypeAndWarnsOfAnEarlierOne)
{
    const LogCapture log;
    Win32Parser parser;
    for (const int handler : {1, 2})
        parser.registerHandler(127, [handler](const auto&, const auto*) { EXPECT_EQ(handler, 2); });
    parser.walk(Struct({}));
    EXPECT_EQ(log.lines(), (LogCapture::Lines{{1, "substitution of structure handler: end-of-table"}}));
    answer(Json::object());
    EXPECT_THAT([&] { parser.read(); }, testing::ThrowsMessage<std::runtime_error>("SMBIOS table is unavailable"));
}
