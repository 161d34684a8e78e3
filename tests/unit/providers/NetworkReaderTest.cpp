#include "hw-inventory-impl/lib/Providers/NetworkReader.h"
#include "hw-inventory-interface/Documents.h"
#include "tests/unit/providers/Support.h"

namespace fakes
{
namespace
{
// With both namespaces, unless a test removes the second.
class NetworkReaderTest : public ProvidersTest
{
protected:
    static std::vector<NetworkAdapterInfo> getAdapters() { return WMIConnections().getNetworkAdapters(); }

    static FakeObjects& netAdapters() { return management().standardCimv2.answers[L"SELECT * FROM MSFT_NetAdapter"]; }
    static FakeObjects& fallback() { return objectsOf(L"Win32_NetworkAdapter"); }

    void takeStandardCimv2Away() { management().standardCimv2.failure = ErrorCode::wmiBind; }
};
}

TEST_F(NetworkReaderTest, OfTheOlderClass)
{
    setUpOneOfEverything();
    takeStandardCimv2Away();
    fallback().push_back({{L"PNPDeviceID", L"USB\\VID_0B95&PID_1790\\1"},
                          {L"Manufacturer", L"ASIX"},
                          {L"ProductName", L"AX88179"},
                          {L"MACAddress", L"00-50-B6 x"}});
    EXPECT_EQ(networkAdaptersDocument(getAdapters()),
              R"({"networkAdapters":[{"deviceID":"8086:15B8","ipAddresses":["192.168.1.10","fe80::1"],)"
              R"("macAddress":"00:15:5D:01:2A:0B","manufacturer":"Intel Corporation",)"
              R"("model":"Ethernet Connection (2) I219-V","name":"Intel(R) Ethernet Connection","status":"ok",)"
              R"("type":"Ethernet 802.3"},)"
              R"({"macAddress":"00-50-B6 x","manufacturer":"ASIX","model":"AX88179"}]})");
    EXPECT_EQ(takeLog(), (Lines{"failed to bind to ROOT\\StandardCIMV2 WMI namespace:  (GetLastError() = 0)",
                                "failed to lookup model (8086:15B8:8672:1043), fallback to (8086:15B8)", unreadable({"Name"})[0],
                                unreadable({"Status"})[0], unreadable({"PhysicalAdapter"})[0],
                                "USB is not a supported BUS to extract device info", unreadable({"GUID"})[0],
                                unreadable({"AdapterType"})[0]}));
}

TEST_F(NetworkReaderTest, OnlyPhysicalAdaptersAreListed)
{
    netAdapters() = {{{L"Name", L"a"}, {L"Virtual", true}}, {{L"Name", L"b"}, {L"Virtual", false}}, {{L"Name", L"c"}}};
    fallback() = {{{L"Name", L"a"}, {L"PhysicalAdapter", false}}, {{L"Name", L"b"}, {L"PhysicalAdapter", true}}, {{L"Name", L"c"}}};
    for (const bool fallbackPath : {false, true})
    {
        if (fallbackPath)
            takeStandardCimv2Away();
        Texts names;
        for (const NetworkAdapterInfo& adapter : getAdapters())
            names.push_back(adapter.name);
        EXPECT_EQ(names, (Texts{L"b", L"c"}));
        Lines log = takeLog();
        std::erase_if(log, [](const std::string& line) { return !line.starts_with("3 "); });
        EXPECT_EQ(log, Lines{"3 skipping logical 'a' network adapter"});
    }
    fallback()[2][L"PhysicalAdapter"] = Null{};
    EXPECT_THROW(getAdapters(), ComError);
}

TEST_F(NetworkReaderTest, TheLastConfigurationWins)
{
    netAdapters() = {{{L"DeviceID", L"{1}"}}, {{L"DeviceID", L"{2}"}}, {{L"DeviceID", L"{3}"}}};
    const FakeObject two{{L"IPAddress", Texts{L"10.0.0.1", L"10.0.0.2"}}};
    objectsOf(L"Win32_NetworkAdapterConfiguration WHERE SettingID='{1}'") = {two, {{L"IPAddress", Texts{L"10.0.0.3"}}}};
    objectsOf(L"Win32_NetworkAdapterConfiguration WHERE SettingID='{2}'") = {two, {{L"IPAddress", Null{}}}};
    std::vector<Texts> addresses;
    for (const NetworkAdapterInfo& adapter : getAdapters())
        addresses.push_back(adapter.ipAddresses);
    EXPECT_EQ(addresses, (std::vector<Texts>{{L"10.0.0.3"}, {}, {}}));
}

TEST_F(NetworkReaderTest, MacAddressesAndMedia)
{
    EXPECT_EQ(formatMacAddress(L"00155d012A0B"), L"00:15:5d:01:2A:0B");
    EXPECT_EQ((Texts{ndisMediumName(0), ndisMediumName(7), ndisMediumName(19)}), (Texts{L"802.3", L"878.2", L"IP"}));
    EXPECT_EQ(takeLog(), Lines());

    EXPECT_EQ((Texts{formatMacAddress(L"00155D012A0"), formatMacAddress(L"00155D012A0BC")}), Texts(2));
    EXPECT_EQ((Texts{ndisMediumName(-1), ndisMediumName(20)}), Texts(2));
    EXPECT_EQ(takeLog(), (Lines{"failed to format '00155D012A0' as MAC address: MAC address should contain 12 runes",
                                "failed to format '00155D012A0BC' as MAC address: MAC address should contain 12 runes",
                                "-1 is not a known network interface type ID", "20 is not a known network interface type ID"}));
}

TEST_F(NetworkReaderTest, WithoutTheModernNamespaceNothingIsFilled)
{
    NetworkAdapterInfo info;
    info.name = L"Ethernet";
    fillFromNetAdapter(*makeObject({{L"NdisMedium", 0}, {L"PermanentAddress", L"00155D012A0B"}}), nullptr, info);
    EXPECT_EQ(info.type + info.macAddress, L"");
    EXPECT_EQ(takeLog(), Lines{"2 no 'ROOT\\StandardCIMv2' WMI namespace connection to fill Ethernet network adapter info"});
}
}
