#include "tests/unit/providers/Support.h"

#include <algorithm>

namespace fakes
{
namespace
{
class DeviceReadersTest : public ProvidersTest
{
protected:
    static void put(const wchar_t* managementClass, FakeObjects objects)
    {
        management().cimv2.answers[std::wstring(L"SELECT * FROM ") + managementClass] = std::move(objects);
    }
};
}

TEST_F(DeviceReadersTest, EveryField)
{
    setUpOneOfEverything();
    WMIConnections connections;
    const auto cpus = connections.getProcessors();
    ASSERT_EQ(cpus.size(), 1);
    EXPECT_EQ(fieldsOf(cpus[0]), (Texts{L"ACME CPU 9000 @ 3.60GHz", L"GenuineACME", L"ACME CPU 9000 @ 3.60GHz", L"0", L"", L"",
                                        L"3600", L"8", L"LGA1700", L"BFEBFBFF000906EA"}));
    const auto boards = connections.getBaseBoards();
    ASSERT_EQ(boards.size(), 1);
    EXPECT_EQ(fieldsOf(boards[0]), (Texts{L"Base Board", L"ACME Inc.", L"X570", L"0", L"", L"", L"BOARD-1"}));
    const auto gpus = connections.getVideoControllers();
    ASSERT_EQ(gpus.size(), 1);
    EXPECT_EQ(fieldsOf(gpus[0]), (Texts{L"NVIDIA GeForce GTX 1050 Ti", L"NVIDIA Corporation", L"GP107 [GeForce GTX 1050 Ti]",
                                        L"0", L"10DE:1C82", L"0000:01:00.0", L""}));
    EXPECT_EQ(takeLog(), (Lines{"'Model' property of OBJECT is not a BSTR as expected",
                                "failed to lookup model (10DE:1C82:11BF:10DE), fallback to (10DE:1C82)"}));
}

TEST_F(DeviceReadersTest, NothingKnown)
{
    put(L"Win32_Processor", {{}, {{L"MaxClockSpeed", -1}, {L"NumberOfCores", L"8"}}});
    put(L"Win32_BaseBoard", {{}});
    put(L"Win32_VideoController", {{}});
    WMIConnections connections;
    const auto cpus = connections.getProcessors();
    ASSERT_EQ(cpus.size(), 2);
    EXPECT_EQ(fieldsOf(cpus[0]), (Texts{L"", L"", L"", L"3", L"", L"", L"0", L"0", L"", L""}));
    EXPECT_EQ(cpus[1].maxClockSpeed, UINT32_MAX);
    EXPECT_EQ(cpus[1].cores, 0);
    Lines log = takeLog();
    log.resize(7);
    EXPECT_EQ(log, unreadable({"Name", "Manufacturer", "Status", "MaxClockSpeed", "NumberOfCores", "SocketDesignation",
                               "ProcessorId"}));

    const auto boards = connections.getBaseBoards();
    ASSERT_EQ(boards.size(), 1);
    EXPECT_EQ(fieldsOf(boards[0]), (Texts{L"", L"", L"", L"3", L"", L"", L""}));
    EXPECT_EQ(takeLog(), unreadable({"Name", "Manufacturer", "Model", "Product", "SerialNumber", "Status"}));

    const auto gpus = connections.getVideoControllers();
    ASSERT_EQ(gpus.size(), 1);
    EXPECT_EQ(fieldsOf(gpus[0]), (Texts{L"", L"", L"", L"3", L"", L"", L""}));
    log = unreadable({"PNPDeviceID", "Name", "Manufacturer", "VideoProcessor", "Status"});
    log.insert(log.begin() + 1, {" is not a supported BUS to extract device info",
                                 "failed to get device information element from the device information set: '259'"});
    EXPECT_EQ(takeLog(), log);
}

TEST_F(DeviceReadersTest, ABoardsModelComesBeforeItsProduct)
{
    put(L"Win32_BaseBoard", {{{L"Model", L"M1"}, {L"Product", L"P1"}}, {{L"Model", L""}, {L"Product", L"P2"}}});
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

    put(L"Win32_VideoController", {other, remote, basic, listed});
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
    EXPECT_EQ(modules[0].status, DeviceStatus::unknown);
    EXPECT_EQ(modules[0].manufacturer + modules[0].model + modules[0].serialNumber + modules[0].deviceLocator, L"");
    EXPECT_EQ(takeLog(), Lines());

    failCall("GlobalMemoryStatusEx");
    EXPECT_EQ(connections.getMemory().size(), 0);
    EXPECT_EQ(takeLog(), Lines{"failed to resolve memory capacity using GlobalMemoryStatusEx() for virtual machine: system "
                               "message 5\r\n (5)"});
    EXPECT_EQ(management().queries, Texts());
}
}
