#include "tests/unit/providers/Support.h"

namespace fakes
{
namespace
{
class SystemReaderTest : public ProvidersTest
{
protected:
    SystemReaderTest() { setUpOneOfEverything(); }

    static SystemInfo getSystem() { return WMIConnections().getSystem(); }
};

const std::wstring kReleaseId = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\ReleaseId";
}

TEST_F(SystemReaderTest, SerialNumberAndProductOfAVirtualMachineAreNotRead)
{
    machine().vmType = 8;
    const SystemInfo system = getSystem();
    EXPECT_EQ(system.serialNumber + system.productID, L"");
    EXPECT_EQ(management().queries, (Texts{L"SELECT * FROM Win32_BIOS", L"SELECT * FROM Win32_ComputerSystem",
                                           L"SELECT * FROM Win32_OperatingSystem", L"SELECT * FROM Win32_Timezone"}));
}

TEST_F(SystemReaderTest, TypesAndBiosVersions)
{
    const std::pair<std::int32_t, const wchar_t*> types[] = {{-1, L""}, {0, L"Unspecified"}, {8, L"Maximum"}, {9, L""}};
    for (const auto& [code, type] : types)
    {
        objectsOf(L"Win32_ComputerSystem")[0][L"PCSystemTypeEx"] = code;
        EXPECT_EQ(getSystem().type, type) << code;
    }

    const Texts versions[] = {// manufacturer, version, both
                              {L"", L"1.60", L"1.60, 05/12/2021"},
                              {L"ACME", L"", L"ACME , 05/12/2021"},
                              {L"", L"", L"05/12/2021"}};
    for (const Texts& each : versions)
    {
        FakeObject& bios = objectsOf(L"Win32_BIOS")[0];
        bios[L"Manufacturer"] = each[0];
        bios[L"SMBIOSBIOSVersion"] = each[1];
        EXPECT_EQ(getSystem().biosVersion, each[2]);
    }
}

TEST_F(SystemReaderTest, TheLastOfSeveralObjectsWins)
{
    objectsOf(L"Win32_OperatingSystem").push_back({{L"Name", L"No bar"}, {L"Version", Null{}}, {L"BuildType", L""}});
    const OsInfo os = getSystem().osInfo;
    EXPECT_EQ((Texts{os.name, os.version, os.buildType, os.manufacturer}), (Texts{L"No bar", L"", L"", L""}));
}

// One failing call costs one fact; for some there is a fallback.
TEST_F(SystemReaderTest, PlatformFaults)
{
    machine().registry[kReleaseId] = L"2009";
    const struct
    {
        const char* operation;
        int nth;
        Texts facts; // release, domain, logon server, locale
        const char* message;
    } cases[] = {
        {"none", 1, {L"23H2", L"example.test", L"\\\\DC-1", L"en-US"}, nullptr},
        {"RegOpenKeyW",
         1,
         {L"2009", L"example.test", L"\\\\DC-1", L"en-US"},
         R"(failed to open "SOFTWARE\Microsoft\Windows NT\CurrentVersion" key: status=5)"},
        {"RegQueryValueExW(size)",
         1,
         {L"2009", L"example.test", L"\\\\DC-1", L"en-US"},
         R"(failed to get "SOFTWARE\Microsoft\Windows NT\CurrentVersion\DisplayVersion" string length: status=2)"},
        {"RegQueryValueExW",
         1,
         {L"2009", L"example.test", L"\\\\DC-1", L"en-US"},
         R"(failed to get "SOFTWARE\Microsoft\Windows NT\CurrentVersion\DisplayVersion" value: status=234)"},
        {"NetGetDCName", 1, {L"23H2", L"", L"-", L"en-US"}, "failed to find domain controller of the machine: 5"},
        {"NetApiBufferFree", 1, {L"23H2", L"example.test", L"\\\\DC-1", L"en-US"}, "failed to free domain controller buffer: 5"},
        {"GetLocaleInfoW",
         1,
         {L"23H2", L"example.test", L"\\\\DC-1", L""},
         "failed to get 800 locale language: system message 5\r\n"},
        {"GetLocaleInfoW",
         2,
         {L"23H2", L"example.test", L"\\\\DC-1", L""},
         "failed to get 800 locale country: system message 5\r\n"},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(testing::Message() << each.operation << each.nth);
        failCall(each.operation, each.nth);
        const SystemInfo system = getSystem();
        EXPECT_EQ((Texts{system.osInfo.releaseId, system.domain, system.logonServer, system.systemLocale}), each.facts);
        EXPECT_EQ(takeLog(), each.message ? Lines{each.message} : Lines());
    }
    machine().registry = {{kReleaseId, L"1809"}};
    EXPECT_EQ(getSystem().osInfo.releaseId, L"1809");
}
}
