#include "tests/unit/providers/Support.h"

namespace fakes
{
namespace
{
using DiskReaderTest = ProvidersTest;

FakeObject link(const std::wstring& partition, const std::wstring& volume)
{
    return {{L"Antecedent", partition}, {L"Dependent", volume}};
}
}

// The volumes on a partition use its space, even more than there is.
TEST_F(DiskReaderTest, AvailableSpaceOfPartitions)
{
    objectsOf(L"Win32_LogicalDiskToPartition") = {link(L"a:P.DeviceID=\"P1\"", L"a:L.DeviceID=\"D:\""),
                                                  link(L"a:P.DeviceID=\"P1\"", L"a:L.DeviceID=\"C:\""),
                                                  link(L"a:P.DeviceID=\"P2\"", L"a:L.DeviceID=\"E:\""),
                                                  link(L"a:P.DeviceID=\"P3\"", L"no quote"),
                                                  link(L"no quote", L"a:L.DeviceID=\"D:\""),
                                                  link(L"a:P.DeviceID=\"P4\"", L"a:L.DeviceID=\"F:\"")};
    objectsOf(L"Win32_DiskDrive") = {{{L"DeviceID", L"\\\\.\\PHYSICALDRIVE0"}}, {{L"DeviceID", L"\\\\.\\PHYSICALDRIVE1"}}};
    FakeObjects& partitions = management().cimv2.answers[L"ASSOCIATORS OF {Win32_DiskDrive.DeviceID='\\\\.\\PHYSICALDRIVE0'} "
                                                         L"WHERE ResultClass=Win32_DiskPartition"];
    for (const wchar_t* name : {L"P1", L"P2", L"P3", L"P4", L"P5"})
        partitions.push_back({{L"DeviceID", name}, {L"Name", name}, {L"Size", L"1000"}});
    const std::wstring volume = L"Win32_LogicalDisk WHERE DeviceID = ";
    objectsOf(volume + L"'C:'") = {{{L"Size", L"500"}, {L"FreeSpace", L"400"}}, {{L"Size", L"5"}, {L"FreeSpace", L"4"}}};
    objectsOf(volume + L"'D:'") = {{{L"Size", L"400"}, {L"FreeSpace", L"380"}}};
    objectsOf(volume + L"'E:'") = {{{L"Size", L"1001"}, {L"FreeSpace", L"0"}}};
    objectsOf(volume + L"'F:'") = {{{L"Size", Null{}}, {L"FreeSpace", Null{}}}};

    const auto disks = WMIConnections().getDisks();
    ASSERT_EQ(disks.size(), 2);
    Texts space;
    for (const PartitionInfo& each : disks[0].partitions)
        space.push_back(each.name + L" " + std::to_wstring(each.availableSpace));
    EXPECT_EQ(space, (Texts{L"P1 879", L"P2 18446744073709551615", L"P3 1000", L"P4 1000", L"P5 1000"}));
    EXPECT_EQ(disks[1].partitions.size(), 0);
    EXPECT_EQ(management().queries.size(), 8) << "a volume is asked for once";
}

TEST_F(DiskReaderTest, MediaTypes)
{
    setUpOneOfEverything();
    const auto mediaType = [] { return WMIConnections().getDisks().front().mediaType; };
    EXPECT_EQ(mediaType(), L"SSD");
    machine().trim.begin()->second = false;
    EXPECT_EQ(mediaType(), L"HDD");
    EXPECT_EQ(takeLog(), Lines());
    const std::pair<const char*, const char*> faults[] = {{"CreateFileW(drive)", "CreateFile failed with error code: 5"},
                                                          {"DeviceIoControl", "DeviceIoControl failed with error code: 1"}};
    for (const auto& [operation, message] : faults)
    {
        failCall(operation);
        EXPECT_EQ(mediaType(), L"");
        EXPECT_EQ(takeLog(), Lines{std::string("Couldn't determine media type of disk drive \\\\.\\PHYSICALDRIVE0: ") + message});
    }
}
}
