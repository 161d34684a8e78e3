#include "hw-inventory-impl/lib/InventoryService.h"

#include "hw-inventory-impl/lib/VendorRegistry.h"
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
using fakes::Texts;
using Lines = fakes::LogCapture::Lines;

namespace
{
constexpr std::int32_t kHyperV = 8;

InventoryService& service()
{
    return InventoryService::instance();
}

Texts namesOf(const auto& records)
{
    Texts names;
    std::ranges::transform(records, std::back_inserter(names), [](const auto& record) { return record.name; });
    return names;
}
}

TEST(InventoryService, NumbersWhatHasNoName)
{
    std::vector<GpuInfo> gpus(4);
    gpus[1].name = L"named";
    gpus[3].name = L" ";
    nameNameless(gpus);
    EXPECT_EQ(namesOf(gpus), (Texts{L"GPU 1", L"named", L"GPU 2", L" "}));

    std::vector<RamInfo> modules(2);
    modules[0].name = L"named";
    modules[0].manufacturer = L" \t Kingston Ltd \r\n";
    numberSlots(modules);
    EXPECT_EQ(namesOf(modules), (Texts{L"Physical Memory Slot 1", L"Physical Memory Slot 2"}));
    EXPECT_EQ(modules[0].manufacturer, L"Kingston Ltd");
}

TEST(InventoryService, SplitsTheModelTextOfADisk)
{
    VendorRegistry registry;
    registry.registerVendor(L"Samsung Electronics Co Ltd");
    registry.registerVendor(L"Intel");
    const Texts cases[] = {// text, manufacturer, model
                           {L"SAMSUNG \t MZVLB256HAHQ-000H1 ", L"Samsung Electronics Co Ltd", L"MZVLB256HAHQ-000H1"},
                           {L"INTEL", L"Intel", L""},
                           {L" Kingston SA400 ", L"", L"Kingston SA400"}};
    for (const Texts& each : cases)
    {
        DiskInfo disk;
        disk.manufacturer = L"replaced";
        disk.model = each[0];
        splitVendor(disk, registry);
        EXPECT_EQ((Texts{each[0], disk.manufacturer, disk.model}), each);
    }
}

TEST(InventoryService, EmulatesMissingDevicesOfAVirtualMachineOnly)
{
    EXPECT_TRUE(service().findBaseBoards().empty());
    EXPECT_TRUE(service().findGpus().empty());

    machine().vmType = kHyperV;
    const auto boards = service().findBaseBoards();
    const auto gpus = service().findGpus();
    ASSERT_EQ(boards.size() + gpus.size(), 2u);
    EXPECT_EQ((Texts{boards[0].name, boards[0].manufacturer, boards[0].model}),
              (Texts{L"Base Board", L"Microsoft Hyper-V Virtual Platform", L"Microsoft Hyper-V Emulated Base Board"}));
    const std::wstring gpu = L"Microsoft Hyper-V Emulated GPU";
    EXPECT_EQ((Texts{gpus[0].name, gpus[0].manufacturer, gpus[0].model}), (Texts{gpu, L"Microsoft Hyper-V Virtual Platform", gpu}));

    management().cimv2.answers[L"SELECT * FROM Win32_BaseBoard"] = {{{L"Name", L"real"}}};
    management().cimv2.answers[L"SELECT * FROM Win32_VideoController"] = {{{L"Name", L""}}, {{L"Name", L"real"}}};
    EXPECT_EQ(namesOf(service().findBaseBoards()), Texts{L"real"});
    EXPECT_EQ(namesOf(service().findGpus()), (Texts{L"GPU 1", L"real"}));
}

TEST(InventoryService, SystemOfAVirtualMachineHasNoProductAndType)
{
    fakes::setUpOneOfEverything();
    machine().vmType = kHyperV;
    const SystemInfo system = service().findSystem();
    EXPECT_EQ((Texts{system.productID, system.type, system.model}), (Texts{L"", L"", L"Roadrunner 9"}));
}

TEST(InventoryService, MemoryOfAVirtualMachineNeedsNoFirmware)
{
    machine().vmType = kHyperV;
    machine().physicalMemory = 123;
    const fakes::LogCapture log;
    const auto modules = service().findRam();
    EXPECT_EQ(namesOf(modules), Texts{L"Physical Memory Slot 1"});
    EXPECT_EQ(modules.at(0).capacity, 123u);
    EXPECT_EQ(log.lines(), Lines());
    EXPECT_EQ(std::ranges::count(machine().calls, "EnumSystemFirmwareTables"), 0);
}

TEST(InventoryService, MemoryFallsBackToFirmwareAndTriesAgainAfterAFailure)
{
    machine().smbiosTable = fakes::memoryTable({{"DIMM A", 1024}, {"DIMM B", 2048}});
    machine().fails = [](const std::string& operation)
    { return operation == "GetSystemFirmwareTable" || operation == "GlobalMemoryStatusEx"; };
    {
        const fakes::LogCapture log;
        EXPECT_TRUE(service().findRam().empty());
        EXPECT_EQ(service().usableMemory(), 0u);
        const Lines expected{{0, "failed to resolve RAM information using platform provider, fallback to SMBIOS"},
                             {1, "failed to resolve RAM information using SMBIOS provider: failed to read SMBIOS table"},
                             {1, "failed to resolve usable memory using GlobalMemoryStatusEx: system message 5\r\n (5)"}};
        EXPECT_EQ(log.lines(), expected);
    }

    machine().fails = [](const char*) { return false; };
    for (int call = 0; call < 2; ++call)
    {
        const auto modules = service().findRam();
        EXPECT_EQ(namesOf(modules), (Texts{L"Physical Memory Slot 1", L"Physical Memory Slot 2"}));
        EXPECT_EQ(modules.back().deviceLocator, L"DIMM B");
        EXPECT_EQ(modules.back().capacity, 2048ull << 20);
    }
    EXPECT_EQ(std::ranges::count(machine().calls, "GetSystemFirmwareTable"), 2) << "once failed, once decoded and kept";
}
