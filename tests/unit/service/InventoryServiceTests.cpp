#include "hw-inventory-impl/lib/InventoryService.h"

#include "hw-inventory-impl/lib/VendorRegistry.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/fakes/FakeManagementSource.h"
#include "tests/unit/service/MemoryTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace HardwareInventory;
using fakes::machine;
using fakes::management;
using Lines = fakes::LogCapture::Lines;

namespace
{
constexpr std::int32_t kHyperV = 8;

InventoryService& service()
{
    return InventoryService::instance();
}

fakes::FakeObjects named(const std::vector<std::wstring>& names)
{
    fakes::FakeObjects objects;
    for (const std::wstring& name : names)
        objects.push_back({{L"Name", name}});
    return objects;
}

std::vector<std::wstring> namesOf(const auto& records)
{
    std::vector<std::wstring> names;
    std::ranges::transform(records, std::back_inserter(names), [](const auto& record) { return record.name; });
    return names;
}

void expectEmulated(const DeviceInfo& device, const std::wstring& name, const std::wstring& model)
{
    EXPECT_EQ(device.name, name);
    EXPECT_EQ(device.manufacturer, L"Microsoft Hyper-V Virtual Platform");
    EXPECT_EQ(device.model, model);
    EXPECT_EQ(device.status, DeviceStatus::unknown);
    EXPECT_EQ(device.deviceID + device.pciAddress, L"");
}
}

TEST(InventoryService, NumbersOnlyTheNamelessAdapters)
{
    std::vector<GpuInfo> gpus(5);
    gpus[1].name = L"named";
    gpus[3].name = L" ";
    nameNameless(gpus);
    EXPECT_EQ(namesOf(gpus), (std::vector<std::wstring>{L"GPU 1", L"named", L"GPU 2", L" ", L"GPU 3"}));
}

TEST(InventoryService, NumbersEverySlotAndTrimsMakers)
{
    std::vector<RamInfo> modules(3);
    modules[0].name = L"named";
    modules[0].manufacturer = L" \t Kingston Ltd \r\n";
    modules[1].manufacturer = L"   ";
    numberSlots(modules);
    EXPECT_EQ(namesOf(modules), (std::vector<std::wstring>{L"Physical Memory Slot 1", L"Physical Memory Slot 2",
                                                           L"Physical Memory Slot 3"}));
    EXPECT_EQ(modules[0].manufacturer, L"Kingston Ltd");
    EXPECT_EQ(modules[1].manufacturer, L"");
}

TEST(InventoryService, SplitsTheModelTextOfADisk)
{
    VendorRegistry registry;
    registry.registerVendor(L"Samsung Electronics Co Ltd");
    registry.registerVendor(L"Intel");
    struct Case
    {
        const wchar_t* text;
        const wchar_t* manufacturer;
        const wchar_t* model;
    };
    const Case cases[] = {{L"SAMSUNG \t MZVLB256HAHQ-000H1 ", L"Samsung Electronics Co Ltd", L"MZVLB256HAHQ-000H1"},
                          {L"INTEL", L"Intel", L""},
                          {L" Kingston SA400 ", L"", L"Kingston SA400"}};
    for (const Case& each : cases)
    {
        DiskInfo disk;
        disk.manufacturer = L"replaced";
        disk.model = each.text;
        splitVendor(disk, registry);
        EXPECT_EQ(disk.manufacturer, each.manufacturer) << each.text;
        EXPECT_EQ(disk.model, each.model) << each.text;
    }
}

TEST(InventoryService, EmulatesMissingDevicesOfAVirtualMachineOnly)
{
    EXPECT_TRUE(service().findBaseBoards().empty());
    EXPECT_TRUE(service().findGpus().empty());

    machine().vmType = kHyperV;
    const auto boards = service().findBaseBoards();
    ASSERT_EQ(boards.size(), 1u);
    expectEmulated(boards.front(), L"Base Board", L"Microsoft Hyper-V Emulated Base Board");
    EXPECT_EQ(boards.front().serialNumber, L"");

    machine().calls.clear();
    const auto gpus = service().findGpus();
    ASSERT_EQ(gpus.size(), 1u);
    expectEmulated(gpus.front(), L"Microsoft Hyper-V Emulated GPU", L"Microsoft Hyper-V Emulated GPU");
    EXPECT_EQ(gpus.front().serialNumber, L"");
    EXPECT_FALSE(gpus.front().temperature);

    management().cimv2.answers[L"SELECT * FROM Win32_BaseBoard"] = named({L"real"});
    management().cimv2.answers[L"SELECT * FROM Win32_VideoController"] = named({L"", L"real"});
    EXPECT_EQ(namesOf(service().findBaseBoards()), std::vector<std::wstring>{L"real"});
    EXPECT_EQ(namesOf(service().findGpus()), (std::vector<std::wstring>{L"GPU 1", L"real"}));
}

TEST(InventoryService, SystemOfAVirtualMachineHasNoProductAndType)
{
    fakes::setUpOneOfEverything();
    const SystemInfo physical = service().findSystem();
    EXPECT_EQ(physical.productID, L"RR9-0001");
    EXPECT_EQ(physical.type, L"Mobile");

    machine().vmType = kHyperV;
    const SystemInfo virtualMachine = service().findSystem();
    EXPECT_EQ(virtualMachine.productID + virtualMachine.type, L"");
    EXPECT_EQ(virtualMachine.model, physical.model);
}

TEST(InventoryService, MemoryOfAVirtualMachineNeedsNoFirmware)
{
    machine().vmType = kHyperV;
    machine().physicalMemory = 123;
    const fakes::LogCapture log;
    const auto modules = service().findRam();
    ASSERT_EQ(modules.size(), 1u);
    EXPECT_EQ(modules.front().name, L"Physical Memory Slot 1");
    EXPECT_EQ(modules.front().capacity, 123u);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(std::ranges::count(machine().calls, "EnumSystemFirmwareTables"), 0);
}

TEST(InventoryService, MemoryFallsBackToFirmwareAndTriesAgainAfterAFailure)
{
    machine().smbiosTable = fakes::memoryTable({{"DIMM A", 1024}, {"DIMM B", 2048}});
    machine().fails = [](const std::string& operation) { return operation == "GetSystemFirmwareTable"; };
    {
        const fakes::LogCapture log;
        EXPECT_TRUE(service().findRam().empty());
        const Lines expected{{0, "failed to resolve RAM information using platform provider, fallback to SMBIOS"},
                             {1, "failed to resolve RAM information using SMBIOS provider: failed to read SMBIOS table"}};
        EXPECT_EQ(log.lines(), expected);
    }

    machine().fails = [](const char*) { return false; };
    for (int call = 0; call < 2; ++call)
    {
        const auto modules = service().findRam();
        EXPECT_EQ(namesOf(modules), (std::vector<std::wstring>{L"Physical Memory Slot 1", L"Physical Memory Slot 2"}));
        EXPECT_EQ(modules.back().deviceLocator, L"DIMM B");
        EXPECT_EQ(modules.back().capacity, 2048ull << 20);
    }
    EXPECT_EQ(std::ranges::count(machine().calls, "GetSystemFirmwareTable"), 2) << "once failed, once decoded and kept";
}
