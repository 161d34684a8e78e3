#include "st-core/lib/Time.h"
#include "tests/unit/providers/Support.h"

namespace fakes
{
namespace
{
class SystemReaderTest : public ProvidersTest
{
protected:
    SystemReaderTest() { setUpOneOfEverything(); }

    static FakeObject& only(const std::wstring& managementClass)
    {
        return management().cimv2.answers.at(L"SELECT * FROM " + managementClass).front();
    }

    static SystemInfo getSystem() { return WMIConnections().getSystem(); }
};

const std::wstring kKey = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
const std::string kKeyText = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
}

TEST_F(SystemReaderTest, EveryField)
{
    Texts expected{L"HOST-1",
                   L"23H2",
                   L"Microsoft Windows 11 Pro",
                   L"10.0.22631",
                   L"Multiprocessor Free",
                   L"",
                   L"Microsoft Corporation",
                   L"RR9-0001",
                   L"2022-01-02 03:04:05",
                   L"\\Device\\HarddiskVolume1",
                   L"2023-11-05 12:00:00",
                   L"ACME Inc.",
                   L"Roadrunner 9",
                   L"Mobile",
                   L"ACME Inc. 1.60, 05/12/2021",
                   L"en-US",
                   L"(UTC+01:00) Berlin",
                   L"",
                   L"BIOS-1",
                   L"C:\\Windows",
                   L"C:\\Windows\\system32",
                   L"Owner",
                   L"ACME",
                   L"example.test",
                   L"\\\\DC-1"};
    EXPECT_EQ(fieldsOf(getSystem()), expected);

    // A virtual machine's serial number and product are never read.
    machine().vmType = 8;
    only(L"Win32_BIOS").erase(L"SerialNumber");
    management().queries.clear();
    expected[7] = expected[18] = L"";
    EXPECT_EQ(fieldsOf(getSystem()), expected);
    EXPECT_EQ(management().queries, (Texts{L"SELECT * FROM Win32_BIOS", L"SELECT * FROM Win32_ComputerSystem",
                                           L"SELECT * FROM Win32_OperatingSystem", L"SELECT * FROM Win32_Timezone"}));
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(SystemReaderTest, NothingKnown)
{
    machine() = {};
    machine().registry[kKey + L"\\ReleaseId"] = L"1809";
    for (auto& [query, objects] : management().cimv2.answers)
        objects = {{}};
    const SystemInfo system = getSystem();
    const std::wstring epoch = ZelStdCore::timeToString(0, L"%m/%d/%Y");
    Texts expected(25);
    expected[1] = L"1809";
    expected[13] = L"Unspecified";
    expected[14] = epoch;
    expected[15] = L"en-US";
    expected[24] = L"-";
    EXPECT_EQ(fieldsOf(system), expected);
    Lines log = unreadable({"Manufacturer",   "SMBIOSBIOSVersion", "ReleaseDate",     "SerialNumber",     "Name",
                            "PrimaryOwnerName", "Manufacturer",    "Model",           "Domain",           "PCSystemTypeEx",
                            "Name",           "Version",           "Manufacturer",    "BuildType",        "LastBootUpTime",
                            "InstallDate",    "WindowsDirectory",  "SystemDirectory", "BootDevice",       "Organization",
                            "Name",           "Caption"});
    log.push_back("failed to get \"" + kKeyText + "\\DisplayVersion\" string length: status=2");
    log.push_back("failed to find domain controller of the machine: 1355");
    EXPECT_EQ(takeLog(), log);
}

TEST_F(SystemReaderTest, TypesAndBiosVersions)
{
    const struct
    {
        std::int32_t code;
        const wchar_t* type;
    } types[] = {{-1, L""}, {0, L"Unspecified"}, {8, L"Maximum"}, {9, L""}, {INT32_MAX, L""}};
    for (const auto& each : types)
    {
        only(L"Win32_ComputerSystem")[L"PCSystemTypeEx"] = each.code;
        EXPECT_EQ(getSystem().type, each.type) << each.code;
    }

    const struct
    {
        const wchar_t* manufacturer;
        const wchar_t* version;
        const wchar_t* text;
    } versions[] = {{L"", L"1.60", L"1.60, 05/12/2021"}, {L"ACME", L"", L"ACME , 05/12/2021"}, {L"", L"", L"05/12/2021"}};
    for (const auto& each : versions)
    {
        only(L"Win32_BIOS")[L"Manufacturer"] = each.manufacturer;
        only(L"Win32_BIOS")[L"SMBIOSBIOSVersion"] = each.version;
        EXPECT_EQ(getSystem().biosVersion, each.text);
    }
}

TEST_F(SystemReaderTest, TheLastOfSeveralObjectsWins)
{
    management().cimv2.answers[L"SELECT * FROM Win32_OperatingSystem"].push_back(
        {{L"Name", L"No bar"}, {L"Version", Null{}}, {L"BuildType", L""}});
    const OsInfo os = getSystem().osInfo;
    EXPECT_EQ((Texts{os.name, os.version, os.buildType, os.manufacturer}), (Texts{L"No bar", L"", L"", L""}));
}

TEST_F(SystemReaderTest, PlatformFaults)
{
    const auto status = [](const char* begin, const char* value, const char* end)
    { return std::string("failed to ") + begin + "\"" + kKeyText + value + "\"" + end; };
    machine().registry[kKey + L"\\ReleaseId"] = L"2009";
    const struct
    {
        const char* operation;
        int nth;
        std::wstring SystemInfo::*field;
        const wchar_t* text;
        Lines log;
    } cases[] = {
        {"NetGetDCName", 1, &SystemInfo::logonServer, L"-", {"failed to find domain controller of the machine: 5"}},
        {"NetGetDCName", 1, &SystemInfo::domain, L"", {"failed to find domain controller of the machine: 5"}},
        {"NetApiBufferFree", 1, &SystemInfo::logonServer, L"\\\\DC-1", {"failed to free domain controller buffer: 5"}},
        {"GetLocaleInfoW", 1, &SystemInfo::systemLocale, L"", {"failed to get 800 locale language: system message 5\r\n"}},
        {"GetLocaleInfoW", 2, &SystemInfo::systemLocale, L"", {"failed to get 800 locale country: system message 5\r\n"}},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(testing::Message() << each.operation << each.nth);
        failCall(each.operation, each.nth);
        EXPECT_EQ(getSystem().*each.field, each.text);
        EXPECT_EQ(takeLog(), each.log);
    }

    const struct
    {
        const char* operation;
        std::string message;
    } faults[] = {
        {"RegOpenKeyW", status("open ", "", " key: status=5")},
        {"RegQueryValueExW(size)", status("get ", "\\DisplayVersion", " string length: status=2")},
        {"RegQueryValueExW", status("get ", "\\DisplayVersion", " value: status=234")},
    };
    for (const auto& fault : faults)
    {
        failCall(fault.operation);
        EXPECT_EQ(getSystem().osInfo.releaseId, L"2009") << fault.operation;
        EXPECT_EQ(takeLog(), Lines{fault.message});
    }
    machine().fails = [](const char* operation) { return std::string(operation) == "RegOpenKeyW"; };
    EXPECT_EQ(getSystem().osInfo.releaseId, L"");
    EXPECT_EQ(takeLog(), Lines(2, faults[0].message)) << "both values are asked for";
}

TEST_F(SystemReaderTest, HotfixesKeepTheirTexts)
{
    management().cimv2.answers[L"SELECT * FROM Win32_QuickFixEngineering"] = {
        {{L"HotFixID", L"File 1"}, {L"InstalledOn", L"01d5ac3c0a8b0000"}},
        {{L"HotFixID", L"File 1"}, {L"InstalledOn", Null{}}},
        {}};
    Texts texts;
    for (const HotfixInfo& hotfix : WMIConnections().getHotfixes())
        texts.push_back(hotfix.name + L"|" + hotfix.installationDate);
    EXPECT_EQ(texts, (Texts{L"File 1|01d5ac3c0a8b0000", L"File 1|", L"|"}));
    EXPECT_EQ(takeLog(), (Lines{"'InstalledOn' property of OBJECT is not a BSTR as expected", unreadable({"HotFixID"})[0],
                                unreadable({"InstalledOn"})[0]}));
}
}
