#include "hw-inventory-impl/lib/Providers/PnpDeviceId.h"
#include "st-core/lib/Text.h"
#include "tests/unit/providers/Support.h"

namespace fakes
{
namespace
{
class PnpDeviceIdTest : public ProvidersTest
{
};
}

TEST_F(PnpDeviceIdTest, PartsOfAnIdentifier)
{
    const struct
    {
        const wchar_t* text;
        PnpIdParts parts;
        Lines log;
    } cases[] = {
        {L"PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BF10DE&REV_A1\\4&2ECE9E9A&0&0008",
         {{L"BUS", L"PCI"},
          {L"VEN", L"10DE"},
          {L"DEV", L"1C82"},
          {L"SUBSYS", L"11BF10DE"},
          {L"REV", L"A1"},
          {L"UID", L"4&2ECE9E9A&0&0008"}},
         {}},
        {L"USB\\VID_0B95&&A_B_C&_&X\\1\\2",
         {{L"BUS", L"USB"}, {L"VID", L"0B95"}, {L"", L""}, {L"UID", L"1"}},
         {"ill-formed ID in PNPDeviceID: ", "ill-formed ID in PNPDeviceID: A_B_C", "ill-formed ID in PNPDeviceID: X"}},
        {L"PCI\\VEN_8086", {{L"BUS", L"PCI"}, {L"VEN", L"8086"}}, {}},
        {L"PCI\\", {{L"BUS", L"PCI"}}, {"ill-formed ID in PNPDeviceID: "}},
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

// Each failure leaves what was filled before it; what was not filled is kept.
TEST_F(PnpDeviceIdTest, NamesFromThePciIdList)
{
    const std::wstring nvidia = L"NVIDIA Corporation";
    const std::wstring gp107 = L"GP107 [GeForce GTX 1050 Ti]";
    const auto failed = [](const std::string& what, const std::string& id)
    { return "failed to parse " + what + " from device PNP id '" + id + "'"; };
    const struct
    {
        std::string id;
        Texts names; // manufacturer, model, deviceID
        Lines log;
    } cases[] = {
        {"ROOT\\BasicDisplay\\0000",
         {L"kept", L"kept", L"kept"},
         {"ill-formed ID in PNPDeviceID: BasicDisplay", "ROOT is not a supported BUS to extract device info"}},
        {"pci\\VEN_10DE&DEV_1C82", {L"kept", L"kept", L"kept"}, {"pci is not a supported BUS to extract device info"}},
        {"", {L"kept", L"kept", L"kept"}, {" is not a supported BUS to extract device info"}},
        {"PCI\\DEV_1C82", {L"kept", L"kept", L"kept"}, {failed("vendor", "PCI\\DEV_1C82")}},
        {"PCI\\VEN_G0DE", {L"kept", L"kept", L"kept"}, {failed("vendor", "PCI\\VEN_G0DE")}},
        {"PCI\\VEN_10000", {L"kept", L"kept", L"kept"}, {failed("vendor", "PCI\\VEN_10000")}},
        {"PCI\\VEN_100000010", {L"kept", L"kept", L"kept"}, {failed("vendor", "PCI\\VEN_100000010")}},
        {"PCI\\VEN_10DE", {nvidia, L"kept", L"kept"}, {failed("model", "PCI\\VEN_10DE")}},
        {"PCI\\VEN_10DE&DEV_", {nvidia, L"kept", L"kept"}, {failed("model", "PCI\\VEN_10DE&DEV_")}},
        {"PCI\\VEN_10de&DEV_1c82",
         {nvidia, gp107, L"10DE:1C82"},
         {failed("device subsystem information", "PCI\\VEN_10de&DEV_1c82")}},
        {"PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BF10D",
         {nvidia, gp107, L"10DE:1C82"},
         {failed("device subsystem information", "PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BF10D")}},
        {"PCI\\VEN_10DE&DEV_1C82&SUBSYS_G1BFG0DE",
         {nvidia, gp107, L"10DE:1C82"},
         {failed("device subsystem vendor", "PCI\\VEN_10DE&DEV_1C82&SUBSYS_G1BFG0DE")}},
        {"PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BFG0DE",
         {nvidia, gp107, L"10DE:1C82"},
         {failed("device subsystem id", "PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BFG0DE")}},
        {"PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BF10DE&REV_A1\\4",
         {nvidia, gp107, L"10DE:1C82"},
         {"failed to lookup model (10DE:1C82:11BF:10DE), fallback to (10DE:1C82)"}},
        {"PCI\\VEN_10DE&DEV_1C82&SUBSYS_10438613\\4", {nvidia, L"PH-GTX1050TI-4G", L"10DE:1C82"}, {}},
        {"PCI\\VEN_10EC&DEV_0&SUBSYS_00000000\\4",
         {L"Realtek Semiconductor Co., Ltd", L"", L"10EC:0000"},
         {"failed to lookup model (10EC:0000)", "failed to lookup model (10EC:0000:0000:0000), fallback to (10EC:0000)",
          "failed to lookup model (10EC:0000)"}},
        {"PCI\\VEN_FFFC", {L"", L"kept", L"kept"}, {"failed to lookup vendor FFFC", failed("model", "PCI\\VEN_FFFC")}},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.id);
        NetworkAdapterInfo info;
        info.manufacturer = info.model = info.deviceID = L"kept";
        fillFromPnpDeviceId(info, ZelStdCore::widen(each.id));
        EXPECT_EQ((Texts{info.manufacturer, info.model, info.deviceID}), each.names);
        EXPECT_EQ(takeLog(), each.log);
    }
}

TEST_F(PnpDeviceIdTest, PciAddress)
{
    const struct
    {
        DeviceLocation location;
        const wchar_t* address;
    } cases[] = {
        {{0, 0}, L"0000:00:00.0"},
        {{3, 0x001F0002}, L"0000:03:1f.2"},
        {{0x00ABCDEF, 0x00120034}, L"abcd:ef:12.4"},
        {{0xFF000000, 0xFF00FFF0}, L"0000:00:00.0"},
        {{0xFFFFFFFF, 0xFFFFFFFF}, L"ffff:ff:ff.f"},
    };
    for (const auto& each : cases)
    {
        machine().locations[L"ID"] = each.location;
        GpuInfo gpu;
        fillPciAddress(gpu, L"ID");
        EXPECT_EQ(gpu.pciAddress, each.address);
    }

    const struct
    {
        const char* operation;
        const char* message;
    } faults[] = {
        {"SetupDiGetClassDevsW", "failed to get handle to a device information set from device PNP id 'ID'"},
        {"SetupDiEnumDeviceInfo", "failed to get device information element from the device information set: '259'"},
        {"SetupDiGetDeviceRegistryPropertyA(bus)", "failed to get bus number device property: '13'"},
        {"SetupDiGetDeviceRegistryPropertyA(address)", "failed to get device's address device property: '13'"},
    };
    for (const auto& fault : faults)
    {
        SCOPED_TRACE(fault.operation);
        failCall(fault.operation);
        GpuInfo gpu;
        gpu.pciAddress = L"kept";
        fillPciAddress(gpu, L"ID");
        EXPECT_EQ(gpu.pciAddress, L"kept");
        EXPECT_EQ(takeLog(), Lines{fault.message});
    }
}
}
