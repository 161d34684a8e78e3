#include "hw-inventory-impl/lib/Providers/NetworkReader.h"
#include "tests/unit/providers/Support.h"

namespace fakes
{
namespace
{
// With both namespaces unless a test takes the second away.
class NetworkReaderTest : public ProvidersTest
{
protected:
    static std::vector<NetworkAdapterInfo> getAdapters() { return WMIConnections().getNetworkAdapters(); }

    static FakeObjects& modern() { return management().standardCimv2.answers[L"SELECT * FROM MSFT_NetAdapter"]; }
    static FakeObjects& fallback() { return management().cimv2.answers[L"SELECT * FROM Win32_NetworkAdapter"]; }

    void takeStandardCimv2Away() { management().standardCimv2.failure = ErrorCode::wmiBind; }
};

const std::wstring kConfigurations = L"SELECT * FROM Win32_NetworkAdapterConfiguration WHERE SettingID=";
const char* const kSubsystem = "failed to lookup model (8086:15B8:8672:1043), fallback to (8086:15B8)";
}

TEST_F(NetworkReaderTest, EveryField)
{
    setUpOneOfEverything();
    auto adapters = getAdapters();
    ASSERT_EQ(adapters.size(), 1);
    Texts expected{L"Ethernet", L"Intel Corporation", L"Ethernet Connection (2) I219-V", L"0", L"8086:15B8", L"", L"802.3",
                   L"00:15:5D:01:2A:0B", L"192.168.1.10", L"fe80::1"};
    EXPECT_EQ(fieldsOf(adapters[0]), expected);
    EXPECT_EQ(takeLog(), Lines{kSubsystem});

    takeStandardCimv2Away();
    adapters = getAdapters();
    ASSERT_EQ(adapters.size(), 1);
    expected[0] = L"Intel(R) Ethernet Connection";
    expected[6] = L"Ethernet 802.3";
    EXPECT_EQ(fieldsOf(adapters[0]), expected);
    EXPECT_EQ(takeLog().back(), kSubsystem);
}

TEST_F(NetworkReaderTest, NothingKnown)
{
    modern() = fallback() = {{}};
    management().cimv2.answers[kConfigurations + L"''"] = {{}};
    const Texts nothing{L"", L"", L"", L"3", L"", L"", L"", L""};
    const std::string bus = " is not a supported BUS to extract device info";

    auto adapters = getAdapters();
    ASSERT_EQ(adapters.size(), 1);
    Texts expected = nothing;
    expected[6] = L"802.3"; // a missing medium reads as 0
    EXPECT_EQ(fieldsOf(adapters[0]), expected);
    Lines log = unreadable({"Name", "Status", "Virtual", "PNPDeviceID", "DeviceID", "IPAddress", "NdisMedium",
                            "PermanentAddress"});
    log.insert(log.begin() + 4, bus);
    log.push_back("failed to format '' as MAC address: MAC address should contain 12 runes");
    EXPECT_EQ(takeLog(), log);

    takeStandardCimv2Away();
    adapters = getAdapters();
    ASSERT_EQ(adapters.size(), 1);
    EXPECT_EQ(fieldsOf(adapters[0]), nothing);
    log = unreadable({"Name", "Status", "PhysicalAdapter", "PNPDeviceID", "GUID", "IPAddress", "Manufacturer", "ProductName",
                      "AdapterType", "MACAddress"});
    log.insert(log.begin(), "failed to bind to ROOT\\StandardCIMV2 WMI namespace:  (GetLastError() = 0)");
    log.insert(log.begin() + 5, bus);
    EXPECT_EQ(takeLog(), log);
}

TEST_F(NetworkReaderTest, OnlyPhysicalAdaptersAreListed)
{
    modern() = {{{L"Name", L"a"}, {L"Virtual", true}}, {{L"Name", L"b"}, {L"Virtual", false}}, {{L"Name", L"c"}}};
    fallback() = {{{L"Name", L"a"}, {L"PhysicalAdapter", false}}, {{L"Name", L"b"}, {L"PhysicalAdapter", true}},
                  {{L"Name", L"c"}}};
    for (const bool fallbackPath : {false, true})
    {
        if (fallbackPath)
            takeStandardCimv2Away();
        Texts names;
        for (const NetworkAdapterInfo& adapter : getAdapters())
            names.push_back(adapter.name);
        EXPECT_EQ(names, (Texts{L"b", L"c"}));
        Lines traces;
        for (const std::string& line : takeLog())
        {
            if (line.starts_with("3 "))
                traces.push_back(line);
        }
        EXPECT_EQ(traces, Lines{"3 skipping logical 'a' network adapter"});
    }
    fallback()[2][L"PhysicalAdapter"] = Null{};
    EXPECT_THROW(getAdapters(), ComError);
}

TEST_F(NetworkReaderTest, TheClassNamesWhatTheIdentifierDoesNot)
{
    takeStandardCimv2Away();
    fallback() = {{{L"PNPDeviceID", L"USB\\VID_0B95&PID_1790\\1"},
                   {L"Manufacturer", L"ASIX"},
                   {L"ProductName", L"AX88179"},
                   {L"MACAddress", L"00-50-B6 x"}},
                  {{L"PNPDeviceID", L"PCI\\VEN_8086&DEV_15B8"}, {L"Manufacturer", L"ASIX"}, {L"ProductName", L"AX88179"}}};
    const auto adapters = getAdapters();
    ASSERT_EQ(adapters.size(), 2);
    EXPECT_EQ((Texts{adapters[0].manufacturer, adapters[0].model, adapters[0].deviceID, adapters[0].macAddress}),
              (Texts{L"ASIX", L"AX88179", L"", L"00-50-B6 x"}));
    EXPECT_EQ((Texts{adapters[1].manufacturer, adapters[1].model, adapters[1].deviceID}),
              (Texts{L"Intel Corporation", L"Ethernet Connection (2) I219-V", L"8086:15B8"}));
}

TEST_F(NetworkReaderTest, TheLastConfigurationWins)
{
    modern() = {{{L"DeviceID", L"{1}"}}, {{L"DeviceID", L"{2}"}}, {{L"DeviceID", L"{3}"}}};
    auto& answers = management().cimv2.answers;
    answers[kConfigurations + L"'{1}'"] = {{{L"IPAddress", Texts{L"10.0.0.1", L"10.0.0.2"}}},
                                           {{L"IPAddress", Texts{L"10.0.0.3"}}}};
    answers[kConfigurations + L"'{2}'"] = {{{L"IPAddress", Texts{L"10.0.0.1"}}}, {{L"IPAddress", Null{}}}};
    const auto adapters = getAdapters();
    ASSERT_EQ(adapters.size(), 3);
    EXPECT_EQ(adapters[0].ipAddresses, Texts{L"10.0.0.3"});
    EXPECT_EQ(adapters[1].ipAddresses, Texts());
    EXPECT_EQ(adapters[2].ipAddresses, Texts());
}

TEST_F(NetworkReaderTest, MacAddressesAndMedia)
{
    EXPECT_EQ(formatMacAddress(L"00155d012A0B"), L"00:15:5d:01:2A:0B");
    EXPECT_EQ(takeLog(), Lines());
    EXPECT_EQ(formatMacAddress(L"00155D012A0"), L"");
    EXPECT_EQ(formatMacAddress(L"00155D012A0BC"), L"");
    EXPECT_EQ(takeLog(), (Lines{"failed to format '00155D012A0' as MAC address: MAC address should contain 12 runes",
                                "failed to format '00155D012A0BC' as MAC address: MAC address should contain 12 runes"}));

    EXPECT_EQ((Texts{ndisMediumName(0), ndisMediumName(7), ndisMediumName(19)}), (Texts{L"802.3", L"878.2", L"IP"}));
    EXPECT_EQ(takeLog(), Lines());
    EXPECT_EQ((Texts{ndisMediumName(-1), ndisMediumName(20), ndisMediumName(71)}), Texts(3));
    EXPECT_EQ(takeLog(), (Lines{"-1 is not a known network interface type ID", "20 is not a known network interface type ID",
                                "71 is not a known network interface type ID"}));
}

TEST_F(NetworkReaderTest, WithoutTheModernNamespaceNothingIsFilled)
{
    NetworkAdapterInfo info;
    info.name = L"Ethernet";
    fillFromNetAdapter(*makeObject({{L"NdisMedium", 0}, {L"PermanentAddress", L"00155D012A0B"}}), nullptr, info);
    EXPECT_EQ(info.type + info.macAddress, L"");
    EXPECT_EQ(takeLog(),
              Lines{"2 no 'ROOT\\StandardCIMv2' WMI namespace connection to fill Ethernet network adapter info"});
}
}
