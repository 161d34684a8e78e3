#include "hw-inventory-impl/lib/DeviceStatus.h"
#include "hw-inventory-impl/lib/Providers/PnpDeviceId.h"
#include "st-core/lib/Text.h"
#include "st-core/lib/Time.h"
#include "tests/unit/providers/CorpusMachine.h"
#include "tests/unit/providers/Support.h"

#include <algorithm>
#include <cwctype>
#include <regex>

// Whole machines through every reader. What a record must hold is worked out here from the objects by rules of its own.
namespace fakes
{
namespace
{
class CorpusTest : public ProvidersTest
{
protected:
    // Runs the check, which says how many records it saw, on every machine: physical and virtual, with and without the modern
    // namespace.
    template <class Check>
    void replay(const Check& check)
    {
        const auto folder = corpusFolder();
        if (!folder)
            GTEST_SKIP() << "HW_INVENTORY_CORPUS is no folder";
        std::size_t seen = 0;
        for (const CorpusMachine& each : readCorpusMachines(*folder / "wmi"))
        {
            management().cimv2.otherwise = management().standardCimv2.otherwise = [&](const std::wstring& wql)
            { return each.query(wql); };
            for (const int way : {0, 1, 2, 3})
            {
                SCOPED_TRACE(testing::Message() << each.name << ", way " << way);
                management().standardCimv2.failure = way & 1 ? std::optional(ErrorCode::wmiBind) : std::nullopt;
                machine().vmType = way & 2 ? 5 : 0;
                WMIConnections connections;
                seen += check(each, connections);
                for (const std::string& line : takeLog())
                    EXPECT_NE(line.substr(0, 2), "2 ") << line;
            }
        }
        EXPECT_GT(seen, 0) << "no machine has any of this";
    }
};

constexpr std::size_t kDateLength = 25; // yyyymmddHHMMSS.ffffff+UUU

template <class Value>
bool holds(const FakeObject& object, const wchar_t* property, Value value)
{
    const auto found = object.find(property);
    const Value* held = found == object.end() ? nullptr : std::get_if<Value>(&found->second);
    return held && *held == value;
}

Texts textsOf(const FakeObject& object, const wchar_t* property)
{
    const auto found = object.find(property);
    const Texts* texts = found == object.end() ? nullptr : std::get_if<Texts>(&found->second);
    return texts ? *texts : Texts();
}

std::uint64_t numberOf(const FakeObject& object, const wchar_t* property)
{
    const std::wstring text = textOf(object, property);
    return text.empty() ? 0 : std::stoull(text);
}

std::int32_t integerOf(const FakeObject& object, const wchar_t* property)
{
    const auto found = object.find(property);
    const std::int32_t* number = found == object.end() ? nullptr : std::get_if<std::int32_t>(&found->second);
    return number ? *number : 0;
}

std::wstring statusOf(const FakeObject& object)
{
    return std::to_wstring(static_cast<std::uint32_t>(statusFromWmiText(textOf(object, L"Status"))));
}

// "VVVV:DDDD" out of an identifier of the PCI bus.
std::wstring pciIdOf(const FakeObject& object)
{
    static const std::wregex pattern(LR"(PCI\\VEN_([0-9A-Fa-f]{4})&DEV_([0-9A-Fa-f]{4})\b.*)");
    const std::wstring text = textOf(object, L"PNPDeviceID");
    std::wsmatch match;
    if (!std::regex_match(text, match, pattern))
        return {};
    std::wstring id = match[1].str() + L":" + match[2].str();
    std::ranges::transform(id, id.begin(), std::towupper);
    return id;
}

void checkPciDevice(const DeviceInfo& info, const FakeObject& object)
{
    EXPECT_EQ(info.deviceID, pciIdOf(object));
    for (const std::wstring& name : {info.manufacturer, info.model})
        EXPECT_TRUE(info.deviceID.empty() || name == ZelStdCore::trim(name, L"\r\n\t .")) << testing::PrintToString(name);
}

std::size_t checkAdapters(const CorpusMachine& each, WMIConnections& connections)
{
    const bool modern = !management().standardCimv2.failure;
    FakeObjects objects = each.objectsOf(modern ? L"MSFT_NetAdapter" : L"Win32_NetworkAdapter");
    std::erase_if(objects, [&](const FakeObject& object)
                  { return holds(object, L"Virtual", true) || holds(object, L"PhysicalAdapter", false); });
    const auto adapters = connections.getNetworkAdapters();
    EXPECT_EQ(adapters.size(), objects.size());
    for (std::size_t i = 0; i < std::min(adapters.size(), objects.size()); ++i)
    {
        const NetworkAdapterInfo& info = adapters[i];
        EXPECT_EQ(info.name, textOf(objects[i], L"Name"));
        checkPciDevice(info, objects[i]);

        const std::wstring setting = textOf(objects[i], modern ? L"DeviceID" : L"GUID");
        Texts addresses;
        for (const FakeObject& configuration : each.objectsOf(L"Win32_NetworkAdapterConfiguration"))
        {
            if (textOf(configuration, L"SettingID") == setting)
                addresses = textsOf(configuration, L"IPAddress");
        }
        EXPECT_EQ(info.ipAddresses, addresses);

        std::wstring digits = info.macAddress;
        std::erase(digits, L':');
        EXPECT_TRUE(digits.empty() || (digits.size() == 12 && info.macAddress.size() == 17)) << digits.size();
        if (modern)
            EXPECT_EQ(digits, textOf(objects[i], L"PermanentAddress"));
        else
            EXPECT_EQ(info.macAddress, textOf(objects[i], L"MACAddress"));
        EXPECT_EQ(info.type.empty(),
                  modern ? integerOf(objects[i], L"NdisMedium") > 19 : textOf(objects[i], L"AdapterType").empty());
        if (info.deviceID.empty())
            EXPECT_EQ(info.manufacturer, textOf(objects[i], L"Manufacturer"));
    }
    return adapters.size();
}

std::uint64_t usedSpaceOn(const CorpusMachine& each, const std::wstring& partition)
{
    std::uint64_t used = 0;
    for (const FakeObject& link : each.objectsOf(L"Win32_LogicalDiskToPartition"))
    {
        for (const FakeObject& volume : each.objectsOf(L"Win32_LogicalDisk"))
        {
            if (textOf(link, L"Antecedent").ends_with(L"\"" + partition + L"\"") &&
                textOf(link, L"Dependent").ends_with(L"\"" + textOf(volume, L"DeviceID") + L"\""))
                used += numberOf(volume, L"Size") - numberOf(volume, L"FreeSpace");
        }
    }
    return used;
}

std::size_t checkDisks(const CorpusMachine& each, WMIConnections& connections)
{
    const FakeObjects drives = each.objectsOf(L"Win32_DiskDrive");
    const auto disks = connections.getDisks();
    EXPECT_EQ(disks.size(), drives.size());
    for (std::size_t i = 0; i < std::min(disks.size(), drives.size()); ++i)
    {
        EXPECT_EQ(fieldsOf(disks[i]),
                  (Texts{textOf(drives[i], L"Name"), L"", textOf(drives[i], L"Model"),
                         statusOf(drives[i]), L"", L"", textOf(drives[i], L"InterfaceType"), L"",
                         std::to_wstring(numberOf(drives[i], L"Size")), textOf(drives[i], L"SerialNumber")}));

        const std::wstring number = disks[i].name.substr(disks[i].name.find_last_not_of(L"0123456789") + 1);
        std::vector<Texts> expected;
        for (const FakeObject& partition : each.objectsOf(L"Win32_DiskPartition"))
        {
            const std::wstring id = textOf(partition, L"DeviceID");
            const std::uint64_t size = numberOf(partition, L"Size");
            if (id.starts_with(L"Disk #" + number + L","))
                expected.push_back({textOf(partition, L"Name"), std::to_wstring(size),
                                    std::to_wstring(size - usedSpaceOn(each, id)), statusOf(partition)});
        }
        std::vector<Texts> partitions;
        for (const PartitionInfo& partition : disks[i].partitions)
            partitions.push_back(fieldsOf(partition));
        EXPECT_EQ(partitions, expected);
    }
    return disks.size();
}

std::size_t checkDevices(const CorpusMachine& each, WMIConnections& connections)
{
    std::vector<Texts> expected;
    for (const FakeObject& object : each.objectsOf(L"Win32_Processor"))
        expected.push_back({textOf(object, L"Name"), textOf(object, L"Manufacturer"), textOf(object, L"Name"),
                            statusOf(object), L"", L"", std::to_wstring(integerOf(object, L"MaxClockSpeed")),
                            std::to_wstring(integerOf(object, L"NumberOfCores")), textOf(object, L"SocketDesignation"),
                            textOf(object, L"ProcessorId")});
    std::vector<Texts> cpus;
    for (const CpuInfo& cpu : connections.getProcessors())
        cpus.push_back(fieldsOf(cpu));
    EXPECT_EQ(cpus, expected);

    Texts models;
    for (const FakeObject& object : each.objectsOf(L"Win32_BaseBoard"))
        models.push_back(textOf(object, textOf(object, L"Model").empty() ? L"Product" : L"Model"));
    Texts boards;
    for (const MotherBoardInfo& board : connections.getBaseBoards())
        boards.push_back(board.model);
    EXPECT_EQ(boards, models);

    FakeObjects controllers = each.objectsOf(L"Win32_VideoController");
    std::erase_if(controllers,
                  [](const FakeObject& object) { return textOf(object, L"Name") == L"Microsoft Remote Display Adapter"; });
    const auto gpus = connections.getVideoControllers();
    EXPECT_EQ(gpus.size(), controllers.size());
    for (std::size_t i = 0; i < std::min(gpus.size(), controllers.size()); ++i)
    {
        checkPciDevice(gpus[i], controllers[i]);
        const bool renamed = machine().vmType != 0 && textOf(controllers[i], L"Name") == L"Microsoft Basic Display Adapter";
        EXPECT_EQ(gpus[i].name, renamed ? L"VMware Emulated GPU" : textOf(controllers[i], L"Name"));
        EXPECT_FALSE(gpus[i].model.empty());
    }
    return cpus.size() + gpus.size();
}

std::size_t checkSystem(const CorpusMachine& each, WMIConnections& connections)
{
    const auto last = [&](const wchar_t* managementClass)
    {
        const FakeObjects objects = each.objectsOf(managementClass);
        return objects.empty() ? FakeObject() : objects.back();
    };
    const auto written = [](std::int64_t time)
    { return time == 0 ? std::wstring() : ZelStdCore::timeToString(time, L"%Y%m%d%H%M%S"); };
    const FakeObject bios = last(L"Win32_BIOS"), computer = last(L"Win32_ComputerSystem"), os = last(L"Win32_OperatingSystem");
    const bool physical = machine().vmType == 0;
    const SystemInfo system = connections.getSystem();
    const struct
    {
        std::wstring field;
        std::wstring text;
    } texts[] = {
        {system.serialNumber, physical ? textOf(bios, L"SerialNumber") : L""},
        {system.productID, physical ? textOf(last(L"Win32_ComputerSystemProduct"), L"Name") : L""},
        {system.timezone, textOf(last(L"Win32_TimeZone"), L"Caption")},
        {system.machineName, textOf(computer, L"Name")},
        {system.owner, textOf(computer, L"PrimaryOwnerName")},
        {system.manufacturer, textOf(computer, L"Manufacturer")},
        {system.model, textOf(computer, L"Model")},
        {system.osInfo.version, textOf(os, L"Version")},
        {system.windowsDirectory, textOf(os, L"WindowsDirectory")},
        {system.organization, textOf(os, L"Organization")},
        {system.domain, L""}, // no domain controller answers
    };
    for (const auto& [field, text] : texts)
        EXPECT_EQ(field, text);
    EXPECT_EQ(system.type.empty(), computer.empty());
    const std::wstring date = textOf(bios, L"ReleaseDate");
    if (date.size() == kDateLength)
    {
        EXPECT_TRUE(system.biosVersion.starts_with(textOf(bios, L"Manufacturer")));
        EXPECT_TRUE(system.biosVersion.ends_with(date.substr(4, 2) + L"/" + date.substr(6, 2) + L"/" + date.substr(0, 4)));
    }
    EXPECT_TRUE((textOf(os, L"Name") + L"|").starts_with(system.osInfo.name + L"|"));
    EXPECT_EQ(system.osInfo.name.empty(), textOf(os, L"Name").empty());
    EXPECT_EQ(written(system.bootTime), textOf(os, L"LastBootUpTime").substr(0, 14));
    EXPECT_EQ(written(system.installationDate), textOf(os, L"InstallDate").substr(0, 14));
    return computer.size();
}

std::size_t checkHotfixes(const CorpusMachine& each, WMIConnections& connections)
{
    std::vector<Texts> expected;
    for (const FakeObject& object : each.objectsOf(L"Win32_QuickFixEngineering"))
        expected.push_back({textOf(object, L"HotFixID"), textOf(object, L"InstalledOn")});
    std::vector<Texts> hotfixes;
    for (const HotfixInfo& hotfix : connections.getHotfixes())
        hotfixes.push_back({hotfix.name, hotfix.installationDate});
    EXPECT_EQ(hotfixes, expected);
    return hotfixes.size();
}
}

TEST_F(CorpusTest, NetworkAdapters)
{
    replay(checkAdapters);
}

TEST_F(CorpusTest, Disks)
{
    replay(checkDisks);
}

TEST_F(CorpusTest, ProcessorsBoardsAndVideoControllers)
{
    replay(checkDevices);
}

TEST_F(CorpusTest, System)
{
    replay(checkSystem);
}

TEST_F(CorpusTest, Hotfixes)
{
    replay(checkHotfixes);
}

TEST_F(CorpusTest, PlugAndPlayIdentifiers)
{
    const auto folder = corpusFolder();
    if (!folder)
        GTEST_SKIP() << "HW_INVENTORY_CORPUS is no folder";
    std::size_t onPci = 0;
    for (const std::wstring& id : readCorpusTexts(*folder / "strings" / "pnp_device_ids.txt"))
    {
        SCOPED_TRACE(testing::PrintToString(id));
        const std::wstring bus = id.substr(0, id.find(L'\\'));
        EXPECT_EQ(parsePnpDeviceId(id).at(L"BUS"), bus);
        takeLog();
        DeviceInfo info;
        fillFromPnpDeviceId(info, id);
        checkPciDevice(info, {{L"PNPDeviceID", id}});
        const Lines log = takeLog();
        const std::string refusal = ZelStdCore::toUtf8(bus) + " is not a supported BUS to extract device info";
        EXPECT_EQ(std::ranges::count(log, refusal), bus == L"PCI" ? 0 : 1);
        onPci += bus == L"PCI" && !info.manufacturer.empty() && !info.model.empty();
    }
    EXPECT_GT(onPci, 0);
}
}
