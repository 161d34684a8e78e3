#include "tests/unit/providers/Support.h"

#include <algorithm>

namespace fakes
{
using DeviceReadersTest = ProvidersTest;

TEST_F(DeviceReadersTest, ABoardsModelComesBeforeItsProduct)
{
    objectsOf(L"Win32_BaseBoard") = {{{L"Model", L"M1"}, {L"Product", L"P1"}}, {{L"Model", L""}, {L"Product", L"P2"}}};
    const auto boards = WMIConnections().getBaseBoards();
    ASSERT_EQ(boards.size(), 2);
    EXPECT_EQ((Texts{boards[0].model, boards[1].model}), (Texts{L"M1", L"P2"}));
}

TEST_F(DeviceReadersTest, VideoControllersOnAnyBusAndMachine)
{
    const FakeObject basic{{L"PNPDeviceID", L"ROOT\\BasicDisplay\\0000"},
                           {L"Name", L"Microsoft Basic Display Adapter"},
                           {L"Manufacturer", L"(Standard display types)"},
                           {L"VideoProcessor", L""}};
    const FakeObject remote{{L"PNPDeviceID", L"SWD\\REMOTEDISPLAYENUM\\1"}, {L"Name", L"Microsoft Remote Display Adapter"}};
    const FakeObject other{{L"PNPDeviceID", L"USB\\VID_17E9\\1"},
                           {L"Name", L"microsoft remote display adapter"},
                           {L"Manufacturer", L"DisplayLink"},
                           {L"VideoProcessor", L"DL-6950"}};
    const FakeObject listed{{L"PNPDeviceID", L"PCI\\VEN_FFFC&DEV_0001"}, {L"Name", L"New"}, {L"VideoProcessor", L"Chip"}};
    const Texts basicFields{L"Microsoft Basic Display Adapter", L"(Standard display types)", L"Microsoft Basic Display Adapter"};
    const Texts renamed{L"Miscrosoft Azure Emulated GPU", L"Miscrosoft Azure Virtual Platform", L"Miscrosoft Azure Emulated GPU"};
    const Texts otherFields{L"microsoft remote display adapter", L"DisplayLink", L"DL-6950"};
    const Texts listedFields{L"New", L"", L"Chip"}; // unknown to the PCI ID list, but still a PCI device

    objectsOf(L"Win32_VideoController") = {other, remote, basic, listed};
    for (const std::int32_t vmType : {0, 22})
    {
        machine().vmType = vmType;
        std::vector<Texts> fields;
        for (const GpuInfo& gpu : WMIConnections().getVideoControllers())
            fields.push_back({gpu.name, gpu.manufacturer, gpu.model});
        EXPECT_EQ(fields, (std::vector<Texts>{otherFields, vmType == 0 ? basicFields : renamed, listedFields}));
    }
}

TEST_F(DeviceReadersTest, OnlyAVirtualMachineHasEmulatedMemory)
{
    machine().physicalMemory = 0x1'2345'6789;
    WMIConnections connections;
    EXPECT_EQ(connections.getMemory().size(), 0);
    EXPECT_EQ(std::ranges::count(machine().calls, "GlobalMemoryStatusEx"), 0);

    machine().vmType = 1;
    const auto modules = connections.getMemory();
    ASSERT_EQ(modules.size(), 1);
    EXPECT_EQ(modules[0].name, L"Emulated memory");
    EXPECT_EQ(modules[0].capacity, 0x1'2345'6789);

    failCall("GlobalMemoryStatusEx");
    EXPECT_EQ(connections.getMemory().size(), 0);
    EXPECT_EQ(takeLog(), Lines{"failed to resolve memory capacity using GlobalMemoryStatusEx() for virtual machine: system "
                               "message 5\r\n (5)"});
    EXPECT_EQ(management().queries, Texts());
}
}
