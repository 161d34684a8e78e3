#include "hw-inventory-impl/lib/Providers/PnpDeviceId.h"
#include "st-core/lib/Utf8.h"
#include "tests/unit/providers/Support.h"

namespace fakes
{
using PnpDeviceIdTest = ProvidersTest;

TEST_F(PnpDeviceIdTest, PartsOfAnIdentifier)
{
    const struct
    {
        const wchar_t* text;
        PnpIdParts parts;
        Lines log;
    } cases[] = {
        {L"PCI\\VEN_10DE&SUBSYS_11BF10DE&REV_A1\\4&2ECE&0",
         {{L"BUS", L"PCI"}, {L"VEN", L"10DE"}, {L"SUBSYS", L"11BF10DE"}, {L"REV", L"A1"}, {L"UID", L"4&2ECE&0"}},
         {}},
        {L"USB\\VID_0B95&&A_B_C&_&X\\1\\2",
         {{L"BUS", L"USB"}, {L"VID", L"0B95"}, {L"", L""}, {L"UID", L"1"}},
         {"ill-formed ID in PNPDeviceID: ", "ill-formed ID in PNPDeviceID: A_B_C", "ill-formed ID in PNPDeviceID: X"}},
        {L"PCI\\VEN_8086", {{L"BUS", L"PCI"}, {L"VEN", L"8086"}}, {}},
        {L"PCI", {{L"BUS", L"PCI"}}, {}},
        {L"", {{L"BUS", L""}}, {}},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.text));
        EXPECT_EQ(parsePnpDeviceId(each.text), each.parts);
        EXPECT_EQ(takeLog(), each.log);
    }
}

// Fields that were filled before the failure stay filled; the others stay unchanged.
TEST_F(PnpDeviceIdTest, NamesFromThePciIdList)
{
    const Texts kept{L"kept", L"kept", L"kept"};
    const Texts named{L"NVIDIA Corporation", L"GP107 [GeForce GTX 1050 Ti]", L"10DE:1C82"};
    const struct
    {
        std::string id;
        Texts names; // manufacturer, model, deviceID
        Lines log;   // with ID for the identifier
    } cases[] = {
        {"pci\\VEN_10DE&DEV_1C82", kept, {"pci is not a supported BUS to extract device info"}},
        {"PCI\\DEV_1C82", kept, {"failed to parse vendor from device PNP id 'ID'"}},
        {"PCI\\VEN_G0DE", kept, {"failed to parse vendor from device PNP id 'ID'"}},
        {"PCI\\VEN_10000", kept, {"failed to parse vendor from device PNP id 'ID'"}},
        {"PCI\\VEN_100000010", kept, {"failed to parse vendor from device PNP id 'ID'"}},
        {"PCI\\VEN_FFFF", {L"Illegal Vendor ID", L"kept", L"kept"}, {"failed to parse model from device PNP id 'ID'"}},
        {"PCI\\VEN_10DE&DEV_", {named[0], L"kept", L"kept"}, {"failed to parse model from device PNP id 'ID'"}},
        {"PCI\\VEN_10de&DEV_1c82", named, {"failed to parse device subsystem information from device PNP id 'ID'"}},
        {"PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BF10D", named, {"failed to parse device subsystem information from device PNP id 'ID'"}},
        {"PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BF10DE0",
         named,
         {"failed to parse device subsystem information from device PNP id 'ID'"}},
        {"PCI\\VEN_10DE&DEV_1C82&SUBSYS_G1BFG0DE", named, {"failed to parse device subsystem vendor from device PNP id 'ID'"}},
        {"PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BFG0DE", named, {"failed to parse device subsystem id from device PNP id 'ID'"}},
        {"PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BF10DE&REV_A1\\4",
         named,
         {"failed to lookup model (10DE:1C82:11BF:10DE), fallback to (10DE:1C82)"}},
        {"PCI\\VEN_10DE&DEV_1C82&SUBSYS_10438613\\4", {named[0], L"PH-GTX1050TI-4G", named[2]}, {}},
        {"PCI\\VEN_10EC&DEV_0&SUBSYS_00000000\\4",
         {L"Realtek Semiconductor Co., Ltd", L"", L"10EC:0000"},
         {"failed to lookup model (10EC:0000)", "failed to lookup model (10EC:0000:0000:0000), fallback to (10EC:0000)",
          "failed to lookup model (10EC:0000)"}},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.id);
        NetworkAdapterInfo info;
        info.manufacturer = info.model = info.deviceID = L"kept";
        fillFromPnpDeviceId(info, ZelStdCore::widen(each.id));
        EXPECT_EQ((Texts{info.manufacturer, info.model, info.deviceID}), each.names);
        Lines log = takeLog();
        for (std::string& line : log)
        {
            if (const auto at = line.find("'" + each.id + "'"); at != std::string::npos)
                line.replace(at + 1, each.id.size(), "ID");
        }
        EXPECT_EQ(log, each.log);
    }
}

TEST_F(PnpDeviceIdTest, PciAddress)
{
    const struct
    {
        const char* operation; // that fails
        DeviceLocation location;
        const wchar_t* address;
        Lines log;
    } cases[] = {
        {"none", {0x00ABCDEF, 0x001F0032}, L"abcd:ef:1f.2", {}},
        {"none", {0xFF000000, 0xFF00FFF0}, L"0000:00:00.0", {}},
        {"none", {0xFFFFFFFF, 0xFFFFFFFF}, L"ffff:ff:ff.f", {}},
        {"SetupDiGetClassDevsW", {}, L"kept", {"failed to get handle to a device information set from device PNP id 'ID'"}},
        {"SetupDiEnumDeviceInfo", {}, L"kept", {"failed to get device information element from the device information set: '259'"}},
        {"SetupDiGetDeviceRegistryPropertyA(bus)", {}, L"kept", {"failed to get bus number device property: '13'"}},
        {"SetupDiGetDeviceRegistryPropertyA(address)", {}, L"kept", {"failed to get device's address device property: '13'"}},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.operation);
        failCall(each.operation);
        machine().locations[L"ID"] = each.location;
        GpuInfo gpu;
        gpu.pciAddress = L"kept";
        fillPciAddress(gpu, L"ID");
        EXPECT_EQ(gpu.pciAddress, each.address);
        EXPECT_EQ(takeLog(), each.log);
    }

    machine().calls.clear();
    GpuInfo gpu;
    fillPciAddress(gpu, L"");
    EXPECT_EQ(takeLog(), Lines{"failed to get handle to a device information set from device PNP id ''"});
    EXPECT_EQ(machine().calls, std::vector<std::string>());
}
}
