#include "hw-inventory-interface/Documents.h"
#include "tests/fakes/FakeMachine.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>

using namespace HardwareInventory;

namespace
{
struct Case
{
    const char* what;
    std::string document;
    std::string expected;
};

template <std::size_t Count>
void check(const Case (&cases)[Count])
{
    for (const Case& each : cases)
        EXPECT_EQ(each.document, each.expected) << each.what;
}

template <class Record, class Fill>
std::vector<Record> one(Fill fill)
{
    std::vector<Record> records(1);
    fill(records.front());
    return records;
}

// Sets every text of the device part.
void setDeviceTexts(DeviceInfo& device, const std::wstring& text)
{
    device.name = device.manufacturer = device.model = device.deviceID = device.pciAddress = text;
}

std::string board(const std::wstring& text)
{
    return baseBoardsDocument(one<MotherBoardInfo>([&](auto& info) { info.model = text; }));
}

std::string serialOfBoard(const std::wstring& serial)
{
    return baseBoardsDocument(one<MotherBoardInfo>([&](auto& info) { info.serialNumber = serial; }));
}

std::string statusOfBoard(DeviceStatus status)
{
    return baseBoardsDocument(one<MotherBoardInfo>([&](auto& info) { info.status = status; }));
}

std::string temperature(float degrees)
{
    return gpusDocument(one<GpuInfo>([&](auto& info) { info.temperature = degrees; }));
}

DiskInfo disk(std::uint64_t size, std::vector<PartitionInfo> partitions)
{
    DiskInfo info;
    info.name = L"D";
    info.size = size;
    info.partitions = std::move(partitions);
    return info;
}

PartitionInfo partition(const wchar_t* name, std::uint64_t size, std::uint64_t available)
{
    return {name, size, available, DeviceStatus::unknown};
}

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();
}

TEST(Documents, EmptyListsAndRecordsWithoutAnyFact)
{
    check({
        {"cpus", cpusDocument({}), R"({"cpus":[]})"},
        {"gpus", gpusDocument({}), R"({"gpus":[]})"},
        {"ram", ramDocument({}, 0), R"({"rams":[],"usableMemory":0})"},
        {"disks", disksDocument({}), R"({"disks":[]})"},
        {"network adapters", networkAdaptersDocument({}), R"({"networkAdapters":[]})"},
        {"base boards", baseBoardsDocument({}), R"({"motherBoards":[]})"},
        {"hotfixes", hotfixesDocument({}), R"({"hotfixes":[]})"},
        {"a gpu", gpusDocument({{}}), R"({"gpus":[null]})"},
        {"a module", ramDocument(std::vector<RamInfo>(1), kLargest), R"({"rams":[null],"usableMemory":18446744073709551615})"},
        {"a disk", disksDocument(std::vector<DiskInfo>(1)), R"({"disks":[{"availableSpace":0,"size":0}]})"},
        {"an adapter", networkAdaptersDocument(std::vector<NetworkAdapterInfo>(1)), R"({"networkAdapters":[null]})"},
        {"a hotfix", hotfixesDocument({{}, {L"KB1", L""}, {}}), R"({"hotfixes":[null,{"name":"KB1"},null]})"},
        {"a system", systemDocument({}), R"({"system":{"osInfo":null}})"},
        {"a partition", disksDocument({disk(5, {partition(L"", 0, 0)})}),
         R"({"disks":[{"availableSpace":5,"name":"D","partitions":[null],"size":5}]})"},
    });
}

// The keys that a machine with one of everything leaves out.
TEST(Documents, RarerKeys)
{
    GpuInfo gpu;
    gpu.serialNumber = L"n";
    gpu.temperature = 1.0f;
    RamInfo module;
    setDeviceTexts(module, L"d");
    module.capacity = kLargest;
    DiskInfo drive = disk(kLargest, {partition(L"P", 10, 4), partition(L"Q", 3, 0)});
    drive.pciAddress = L"a";
    drive.partitions[0].status = DeviceStatus::hasIssues;
    NetworkAdapterInfo adapter;
    adapter.ipAddresses = {L"b", L"a", L""};
    check({
        {"gpu", gpusDocument({gpu}), R"({"gpus":[{"serialNumber":"n","temperature":1.0}]})"},
        {"module", ramDocument({module}, 1),
         R"({"rams":[{"capacity":18446744073709551615,"deviceID":"d","manufacturer":"d","model":"d","name":"d",)"
         R"("pciAddress":"d"}],"usableMemory":1})"},
        {"disk", disksDocument({drive}),
         R"({"disks":[{"availableSpace":18446744073709551606,"name":"D",)"
         R"("partitions":[{"availableSpace":4,"name":"P","size":10,"status":"has issues"},{"name":"Q","size":3}],)"
         R"("pciAddress":"a","size":18446744073709551615}]})"},
        {"adapter", networkAdaptersDocument({adapter}), R"({"networkAdapters":[{"ipAddresses":["b","a",""]}]})"},
    });
}

TEST(Documents, PresenceRulesAtTheirEdges)
{
    CpuInfo cpu;
    setDeviceTexts(cpu, L"0x");
    cpu.socketDesignation = L" \t\r\n";
    cpu.processorID = L"0x0";
    DiskInfo drive = disk(1, {});
    drive.name = drive.interfaceType = drive.mediaType = drive.serialNumber = L" ";
    SystemInfo system;
    system.productID = system.manufacturer = system.model = system.type = L"0x1";
    system.machineName = system.osInfo.family = system.serialNumber = system.domain = system.workgroup = L" ";

    const std::string noBoard = R"({"motherBoards":[null]})";
    check({
        {"meaningless everywhere", cpusDocument({cpu}), R"({"cpus":[null]})"},
        {"prefix in upper case", board(L"0X3468"), R"({"motherBoards":[{"model":"0X3468"}]})"},
        {"prefix not in front", board(L" 0x1"), R"({"motherBoards":[{"model":" 0x1"}]})"},
        {"first placeholder serial", serialOfBoard(L"9876543210"), noBoard},
        {"second placeholder serial", serialOfBoard(L"0x00000000"), noBoard},
        {"serial of spaces", serialOfBoard(L"  "), noBoard},
        {"placeholder in upper case", serialOfBoard(L"0X00000000"), R"({"motherBoards":[{"serialNumber":"0X00000000"}]})"},
        {"placeholder and more", serialOfBoard(L"98765432100"), R"({"motherBoards":[{"serialNumber":"98765432100"}]})"},
        {"a serial may begin like a number", serialOfBoard(L"0x1"), R"({"motherBoards":[{"serialNumber":"0x1"}]})"},
        {"disabled", statusOfBoard(DeviceStatus::disabledByUser), R"({"motherBoards":[{"status":"disabled by user"}]})"},
        {"zero is a temperature", temperature(0.0f), R"({"gpus":[{"temperature":0.0}]})"},
        {"the widened value", temperature(45.3f), R"({"gpus":[{"temperature":45.29999923706055}]})"},
        {"spaces count in a disk", disksDocument({drive}),
         R"({"disks":[{"availableSpace":1,"interfaceType":" ","mediaType":" ","serialNumber":" ","size":1}]})"},
        {"spaces count in a system", systemDocument(system),
         R"({"system":{"domain":" ","machineName":" ","osInfo":{"family":" "},"serialNumber":" ","workgroup":" "}})"},
    });
}

TEST(Documents, TextIsRawUtf8)
{
    check({
        {"two, three and four bytes", board(L"M\u00FCller \u65E5 \U0001F600"),
         "{\"motherBoards\":[{\"model\":\"M\xC3\xBCller \xE6\x97\xA5 \xF0\x9F\x98\x80\"}]}"},
        {"a lone surrogate", board(std::wstring(1, wchar_t(0xD800))), "{\"motherBoards\":[{\"model\":\"\xEF\xBF\xBD\"}]}"},
        {"escapes", board(L"\"\\\n\x01/"), R"({"motherBoards":[{"model":"\"\\\n\u0001/"}]})"},
        {"a zero inside", board(std::wstring(L"a\0b", 3)), R"({"motherBoards":[{"model":"a\u0000b"}]})"},
    });
}

TEST(Documents, SpaceOfDisks)
{
    struct SpaceCase
    {
        DiskInfo disk;
        const char* available;
        std::vector<std::string> warnings;
    };
    const SpaceCase cases[] = {
        {disk(100, {partition(L"P", 60, 10), partition(L"Q", 30, 30)}),
         R"("availableSpace":50)",
         {"Q partition available space exceeds total size: 30 vs 30"}},
        {disk(100, {partition(L"P", 100, 0)}), R"("availableSpace":0)", {"D disk used space exceeds total size: 100 vs 100"}},
        {disk(100, {partition(L"P", 10, kLargest - 4), partition(L"Q", 200, 50)}),
         R"("availableSpace":0)",
         {"P partition available space exceeds total size: 18446744073709551611 vs 10",
          "D disk used space exceeds total size: 100 vs 150"}},
        {disk(100, {partition(L"P", 99, 0)}), R"("availableSpace":1)", {}},
        {disk(0, {}), R"("availableSpace":0)", {"D disk used space exceeds total size: 0 vs 0"}},
    };
    for (const SpaceCase& each : cases)
    {
        const fakes::LogCapture log;
        const std::string document = disksDocument({each.disk});
        EXPECT_TRUE(document.starts_with(std::string(R"({"disks":[{)") + each.available + ",")) << document;
        fakes::LogCapture::Lines expected;
        for (const std::string& warning : each.warnings)
            expected.emplace_back(1, warning);
        EXPECT_EQ(log.lines(), expected) << document;
    }
}
