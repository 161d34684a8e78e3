#include "hw-inventory-impl/lib/Providers/PnpDeviceId.h"
#include "st-core/lib/Text.h"
#include "st-core/lib/Time.h"
#include "st-core/lib/Utf8.h"
#include "tests/unit/providers/Support.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <cwctype>
#include <filesystem>
#include <fstream>

// The corpus: data of real machines, in a folder named by the environment variable HW_INVENTORY_CORPUS. Whole machines go through
// every reader, and the expected records are computed here from the objects by independent rules.
namespace fakes
{
namespace
{
template <class Value>
Value valueOf(const FakeObject& object, const wchar_t* property)
{
    const auto found = object.find(property);
    const Value* held = found == object.end() ? nullptr : std::get_if<Value>(&found->second);
    return held ? *held : Value();
}

const auto textOf = valueOf<std::wstring>;

std::uint64_t numberOf(const FakeObject& object, const wchar_t* property)
{
    const std::wstring text = textOf(object, property);
    return text.empty() ? 0 : std::stoull(text);
}

FakeValue readValue(const nlohmann::json& variant)
{
    const nlohmann::json& value = variant.at("v");
    if (value.is_null())
        return Null{};
    if (value.is_string())
        return ZelStdCore::widen(value.get<std::string>());
    if (value.is_boolean())
        return value.get<bool>();
    if (value.is_number())
        return static_cast<std::int32_t>(value.get<std::int64_t>());
    Texts texts;
    for (const std::string text : value)
        texts.push_back(ZelStdCore::widen(text));
    return texts;
}

class CorpusTest : public ProvidersTest
{
protected:
    void SetUp() override
    {
        const char* folder = std::getenv("HW_INVENTORY_CORPUS");
        if (!folder || !std::filesystem::is_directory(folder))
            GTEST_SKIP() << "HW_INVENTORY_CORPUS is no folder";
        folder_ = folder;
    }

    // Runs the check, which returns the number of its records, on every machine: physical and virtual, with and without the second
    // namespace.
    void replay(std::size_t (*check)(WMIConnections&))
    {
        std::size_t seen = 0;
        for (const auto& file : std::filesystem::directory_iterator(folder_ / "wmi"))
        {
            management() = {};
            setUp(nlohmann::json::parse(std::ifstream(file.path(), std::ios::binary)));
            for (const int way : {0, 1, 2, 3})
            {
                SCOPED_TRACE(testing::Message() << file.path() << ", way " << way);
                management().standardCimv2.failure = way & 1 ? std::optional(ErrorCode::wmiBind) : std::nullopt;
                machine().vmType = way & 2 ? 5 : 0;
                WMIConnections connections;
                seen += check(connections);
                for (const std::string& line : takeLog())
                    EXPECT_NE(line.substr(0, 2), "2 ") << line;
            }
        }
        EXPECT_GT(seen, 0) << "no machine has any of this";
    }

    std::filesystem::path folder_;

private:
    // Results for the readers' queries, from a machine's objects by class.
    static void setUp(const nlohmann::json& classes)
    {
        for (const auto& [name, objects] : classes.items())
        {
            for (const auto& properties : objects)
            {
                FakeObject& object = objectsOf(ZelStdCore::widen(name)).emplace_back();
                for (const auto& [property, variant] : properties.items())
                    object[ZelStdCore::widen(property)] = readValue(variant);
            }
        }
        objectsOf(L"Win32_Timezone") = objectsOf(L"Win32_TimeZone");
        for (const FakeObject& each : objectsOf(L"Win32_NetworkAdapterConfiguration"))
            objectsOf(L"Win32_NetworkAdapterConfiguration WHERE SettingID='" + textOf(each, L"SettingID") + L"'").push_back(each);
        for (const FakeObject& each : objectsOf(L"Win32_LogicalDisk"))
            objectsOf(L"Win32_LogicalDisk WHERE DeviceID = '" + textOf(each, L"DeviceID") + L"'").push_back(each);
        for (const FakeObject& each : objectsOf(L"Win32_DiskPartition"))
        {
            const std::wstring id = textOf(each, L"DeviceID"); // "Disk #0, Partition #0"
            const std::wstring drive = L"\\\\.\\PHYSICALDRIVE" + id.substr(6, id.find(L',') - 6);
            management()
                .cimv2.answers[L"ASSOCIATORS OF {Win32_DiskDrive.DeviceID='" + drive + L"'} WHERE ResultClass=Win32_DiskPartition"]
                .push_back(each);
        }
        management().standardCimv2.answers = management().cimv2.answers;
    }
};

Texts textsOf(const wchar_t* managementClass, const wchar_t* property)
{
    Texts texts;
    for (const FakeObject& each : objectsOf(managementClass))
        texts.push_back(textOf(each, property));
    return texts;
}

// "VVVV:DDDD" from an identifier of the PCI bus, and names without spaces and dots around them.
void checkPciDevice(const DeviceInfo& info, std::wstring id)
{
    std::ranges::transform(id, id.begin(), std::towupper);
    EXPECT_EQ(info.deviceID, id.starts_with(L"PCI\\") ? id.substr(8, 4) + L":" + id.substr(17, 4) : L"");
    for (const std::wstring& name : {info.manufacturer, info.model})
        EXPECT_TRUE(info.deviceID.empty() || name == ZelStdCore::trim(name, L"\r\n\t .")) << testing::PrintToString(name);
}

std::size_t checkAdapters(WMIConnections& connections)
{
    const bool hasStandardCimv2 = !management().standardCimv2.failure;
    FakeObjects objects = objectsOf(hasStandardCimv2 ? L"MSFT_NetAdapter" : L"Win32_NetworkAdapter");
    std::erase_if(objects,
                  [](const FakeObject& object)
                  {
                      return valueOf<bool>(object, L"Virtual") ||
                             (object.contains(L"PhysicalAdapter") && !valueOf<bool>(object, L"PhysicalAdapter"));
                  });
    const auto adapters = connections.getNetworkAdapters();
    EXPECT_EQ(adapters.size(), objects.size());
    for (std::size_t i = 0; i < std::min(adapters.size(), objects.size()); ++i)
    {
        checkPciDevice(adapters[i], textOf(objects[i], L"PNPDeviceID"));
        std::wstring address = adapters[i].macAddress;
        EXPECT_TRUE(address.empty() || address.size() == 17);
        if (hasStandardCimv2)
            std::erase(address, L':');
        EXPECT_EQ(address, textOf(objects[i], hasStandardCimv2 ? L"PermanentAddress" : L"MACAddress"));
        for (const FakeObject& each : objectsOf(L"Win32_NetworkAdapterConfiguration"))
        {
            if (textOf(each, L"SettingID") == textOf(objects[i], hasStandardCimv2 ? L"DeviceID" : L"GUID"))
                EXPECT_EQ(adapters[i].ipAddresses, valueOf<Texts>(each, L"IPAddress"));
        }
    }
    return adapters.size();
}

std::size_t checkDisks(WMIConnections& connections)
{
    Texts serials;
    std::size_t count = 0;
    for (const DiskInfo& disk : connections.getDisks())
    {
        serials.push_back(disk.serialNumber);
        for (const PartitionInfo& partition : disk.partitions)
        {
            ++count;
            std::uint64_t available = partition.size;
            for (const FakeObject& link : objectsOf(L"Win32_LogicalDiskToPartition"))
            {
                for (const FakeObject& volume : objectsOf(L"Win32_LogicalDisk"))
                {
                    if (textOf(link, L"Antecedent").ends_with(L"\"" + partition.name + L"\"") &&
                        textOf(link, L"Dependent").ends_with(L"\"" + textOf(volume, L"DeviceID") + L"\""))
                        available -= numberOf(volume, L"Size") - numberOf(volume, L"FreeSpace");
                }
            }
            EXPECT_EQ(partition.availableSpace, available);
        }
    }
    EXPECT_EQ(serials, textsOf(L"Win32_DiskDrive", L"SerialNumber"));
    EXPECT_EQ(count, serials.empty() ? 0 : objectsOf(L"Win32_DiskPartition").size());
    return count;
}

std::size_t checkDevices(WMIConnections& connections)
{
    Texts processors;
    for (const CpuInfo& cpu : connections.getProcessors())
        processors.push_back(cpu.name);
    EXPECT_EQ(processors, textsOf(L"Win32_Processor", L"Name"));

    Texts controllers = textsOf(L"Win32_VideoController", L"PNPDeviceID");
    std::erase_if(controllers, [](const std::wstring& id) { return id.find(L"REMOTEDISPLAY") != std::wstring::npos; });
    const auto gpus = connections.getVideoControllers();
    EXPECT_EQ(gpus.size(), controllers.size());
    for (std::size_t i = 0; i < std::min(gpus.size(), controllers.size()); ++i)
    {
        checkPciDevice(gpus[i], controllers[i]);
        EXPECT_FALSE(gpus[i].name.empty() || gpus[i].model.empty());
    }
    EXPECT_EQ(connections.getBaseBoards().size(), objectsOf(L"Win32_BaseBoard").size());
    return processors.size() + gpus.size();
}

std::size_t checkSystem(WMIConnections& connections)
{
    const SystemInfo system = connections.getSystem();
    for (const FakeObject& os : objectsOf(L"Win32_OperatingSystem"))
    {
        EXPECT_TRUE((textOf(os, L"Name") + L"|").starts_with(system.osInfo.name + L"|"));
        const auto written = [](std::int64_t time)
        { return time == 0 ? std::wstring() : ZelStdCore::timeToString(time, L"%Y%m%d%H%M%S"); };
        EXPECT_EQ(written(system.bootTime), textOf(os, L"LastBootUpTime").substr(0, 14));
        EXPECT_EQ(written(system.installationDate), textOf(os, L"InstallDate").substr(0, 14));
    }
    for (const std::wstring& date : textsOf(L"Win32_BIOS", L"ReleaseDate"))
        EXPECT_TRUE(date.empty() ||
                    system.biosVersion.ends_with(date.substr(4, 2) + L"/" + date.substr(6, 2) + L"/" + date.substr(0, 4)));
    EXPECT_EQ(system.type.empty(), objectsOf(L"Win32_ComputerSystem").empty());
    return system.machineName.size();
}

std::size_t checkHotfixes(WMIConnections& connections)
{
    Texts dates;
    for (const HotfixInfo& hotfix : connections.getHotfixes())
        dates.push_back(hotfix.installationDate);
    EXPECT_EQ(dates, textsOf(L"Win32_QuickFixEngineering", L"InstalledOn"));
    return dates.size();
}
}

TEST_F(CorpusTest, EveryReader)
{
    for (const auto check : {checkAdapters, checkDisks, checkDevices, checkSystem, checkHotfixes})
        replay(check);
}

TEST_F(CorpusTest, PlugAndPlayIdentifiers)
{
    std::size_t onPci = 0;
    std::ifstream file(folder_ / "strings" / "pnp_device_ids.txt", std::ios::binary);
    for (std::string line; std::getline(file, line);)
    {
        if (line.starts_with('#'))
            continue;
        SCOPED_TRACE(line);
        const std::wstring id = ZelStdCore::widen(line.substr(0, line.find('\t')));
        DeviceInfo info;
        fillFromPnpDeviceId(info, id);
        checkPciDevice(info, id);
        onPci += !info.manufacturer.empty() && !info.model.empty();
    }
    EXPECT_GT(onPci, 0);
}
}
