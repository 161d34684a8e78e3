#include "hw-inventory-interface/Documents.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/Providers/NetworkReader.h"
#include "tests/runner/Cases.h"
#include "tests/runner/LogCapture.h"
#include "tests/runner/Replay.h"

#include <gtest/gtest.h>

using namespace HardwareInventory;
using namespace Providers::WMIProvider;

// Records that no machine leads to.
TEST(Documents, OfRecordsThatNoMachineHas)
{
    const DeviceInfo device{L"d", L"d", L"d", DeviceStatus::disabledByUser, L"d", L"d"};
    SystemInfo system;
    system.osInfo.family = system.workgroup = L" ";
    system.type = L"0x1";
    const std::pair<std::string, const char*> cases[] = {
        {gpusDocument({{{}, L"n", 0.0f}, {{}, L"0x00000000", 45.3f}}),
         R"({"gpus":[{"serialNumber":"n","temperature":0.0},{"temperature":45.29999923706055}]})"}, // the widened value
        {baseBoardsDocument({{{.status = static_cast<DeviceStatus>(7)}, L""}}), R"({"motherBoards":[{"status":""}]})"},
        {ramDocument({{device, L"9876543210", UINT64_MAX, L"0x"}, {}}, UINT64_MAX),
         R"({"rams":[{"capacity":18446744073709551615,"deviceID":"d","manufacturer":"d","model":"d","name":"d","pciAddress":"d",)"
         R"("status":"disabled by user"},null],"usableMemory":18446744073709551615})"},
        {disksDocument({{{.pciAddress = L"a"}, {}, L"", L" ", 1, L""}}),
         R"({"disks":[{"availableSpace":1,"mediaType":" ","pciAddress":"a","size":1}]})"},
        {systemDocument(system), R"({"system":{"osInfo":{"family":" "},"workgroup":" "}})"},
    };
    for (const auto& [document, expected] : cases)
        EXPECT_EQ(document, expected);
}

TEST(Readers, NothingIsReadOfAnAdapterWithoutItsNamespace)
{
    const LogCapture log;
    NetworkAdapterInfo info{{.name = L"Ethernet"}, L"", L"", {}};
    setMachine(cases::find("whole", "machine").recording);
    Platform::connectManagementSource(L"ROOT\\CIMV2")
        ->query(L"SELECT * FROM Win32_NetworkAdapter", [&](auto& adapter) { fillFromNetAdapter(*adapter, nullptr, info); });
    EXPECT_EQ(networkAdaptersDocument({info}), R"({"networkAdapters":[{"name":"Ethernet"}]})");
    EXPECT_EQ(log.lines(),
              (LogCapture::Lines{{2, "no 'ROOT\\StandardCIMv2' WMI namespace connection to fill Ethernet network adapter info"}}));
}
