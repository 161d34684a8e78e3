#include "tests/unit/providers/Support.h"

namespace fakes
{
namespace
{
class DiskReaderTest : public ProvidersTest
{
};

const std::wstring kDrive = L"\\\\.\\PHYSICALDRIVE0";
const std::wstring kPartitions =
    L"ASSOCIATORS OF {Win32_DiskDrive.DeviceID='\\\\.\\PHYSICALDRIVE0'} WHERE ResultClass=Win32_DiskPartition";

FakeObject link(const wchar_t* partition, const wchar_t* volume)
{
    return {{L"Antecedent", partition}, {L"Dependent", volume}};
}

FakeObject partition(const wchar_t* id, const wchar_t* size)
{
    return {{L"DeviceID", id}, {L"Name", std::wstring(id) + L" name"}, {L"Size", size}, {L"Status", L"Error"}};
}

FakeObject volume(FakeValue size, FakeValue free)
{
    return {{L"Size", std::move(size)}, {L"FreeSpace", std::move(free)}};
}
}

TEST_F(DiskReaderTest, EveryField)
{
    setUpOneOfEverything();
    const auto disks = WMIConnections().getDisks();
    ASSERT_EQ(disks.size(), 1);
    EXPECT_EQ(fieldsOf(disks[0]), (Texts{kDrive, L"", L"Samsung SSD 970 EVO 500GB", L"0", L"", L"", L"SCSI", L"SSD",
                                         L"500105249280", L"DISK-1"}));
    ASSERT_EQ(disks[0].partitions.size(), 1);
    EXPECT_EQ(fieldsOf(disks[0].partitions[0]), (Texts{L"Disk #0, Partition #0", L"500000000000", L"200000000000", L"0"}));
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(DiskReaderTest, NothingKnown)
{
    auto& answers = management().cimv2.answers;
    answers[L"SELECT * FROM Win32_LogicalDiskToPartition"] = {{}};
    answers[L"SELECT * FROM Win32_DiskDrive"] = {{}};
    answers[L"ASSOCIATORS OF {Win32_DiskDrive.DeviceID=''} WHERE ResultClass=Win32_DiskPartition"] = {{}};
    const auto disks = WMIConnections().getDisks();
    ASSERT_EQ(disks.size(), 1);
    EXPECT_EQ(fieldsOf(disks[0]), (Texts{L"", L"", L"", L"3", L"", L"", L"", L"", L"0", L""}));
    ASSERT_EQ(disks[0].partitions.size(), 1);
    EXPECT_EQ(fieldsOf(disks[0].partitions[0]), (Texts{L"", L"0", L"0", L"3"}));
    Lines log = unreadable({"Antecedent", "Dependent", "DeviceID", "Model", "InterfaceType"});
    log.push_back("Couldn't determine media type of disk drive : CreateFile failed with error code: 5");
    for (const std::string& line :
         unreadable({"Name", "Size", "Status", "SerialNumber", "DeviceID", "Name", "Size", "Status"}))
        log.push_back(line);
    EXPECT_EQ(takeLog(), log);
}

TEST_F(DiskReaderTest, AvailableSpaceOfPartitions)
{
    auto& answers = management().cimv2.answers;
    answers[L"SELECT * FROM Win32_LogicalDiskToPartition"] = {
        link(L"a:P.DeviceID=\"P1\"", L"a:L.DeviceID=\"D:\""), link(L"a:P.DeviceID=\"P1\"", L"a:L.DeviceID=\"C:\""),
        link(L"a:P.DeviceID=\"P2\"", L"a:L.DeviceID=\"E:\""), link(L"a:P.DeviceID=\"P3\"", L"no quote"),
        link(L"no quote", L"a:L.DeviceID=\"D:\""),            link(L"a:P.DeviceID=\"P4\"", L"a:L.DeviceID=\"F:\"")};
    answers[L"SELECT * FROM Win32_DiskDrive"] = {{{L"DeviceID", kDrive}}, {{L"DeviceID", L"\\\\.\\PHYSICALDRIVE1"}}};
    answers[kPartitions] = {partition(L"P1", L"1000"), partition(L"P2", L"100"), partition(L"P3", L"300"),
                            partition(L"P4", L"400"), partition(L"P5", L"500")};
    answers[L"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = 'C:'"] = {volume(L"500", L"400"), volume(L"5", L"4")};
    answers[L"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = 'D:'"] = {volume(L"400", L"380")};
    answers[L"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = 'E:'"] = {volume(L"101", L"0")};
    answers[L"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = 'F:'"] = {volume(Null{}, Null{})};
    const auto disks = WMIConnections().getDisks();
    ASSERT_EQ(disks.size(), 2);
    Texts space;
    for (const PartitionInfo& each : disks[0].partitions)
        space.push_back(each.name + L" " + std::to_wstring(each.availableSpace));
    EXPECT_EQ(space, (Texts{L"P1 name 879", L"P2 name 18446744073709551615", L"P3 name 300", L"P4 name 400", L"P5 name 500"}));
    EXPECT_EQ(disks[1].partitions.size(), 0);
    EXPECT_EQ(management().queries,
              (Texts{L"SELECT * FROM Win32_LogicalDiskToPartition", L"SELECT * FROM Win32_DiskDrive", kPartitions,
                     L"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = 'D:'",
                     L"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = 'C:'",
                     L"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = 'E:'",
                     L"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = 'F:'",
                     L"ASSOCIATORS OF {Win32_DiskDrive.DeviceID='\\\\.\\PHYSICALDRIVE1'} WHERE "
                     L"ResultClass=Win32_DiskPartition"}));
}

TEST_F(DiskReaderTest, MediaTypes)
{
    setUpOneOfEverything();
    const auto mediaType = [] { return WMIConnections().getDisks().front().mediaType; };
    machine().trim[kDrive] = false;
    EXPECT_EQ(mediaType(), L"HDD");
    EXPECT_EQ(takeLog(), Lines());
    failCall("CreateFileW(drive)");
    EXPECT_EQ(mediaType(), L"");
    failCall("DeviceIoControl");
    EXPECT_EQ(mediaType(), L"");
    const std::string begin = "Couldn't determine media type of disk drive \\\\.\\PHYSICALDRIVE0: ";
    EXPECT_EQ(takeLog(), (Lines{begin + "CreateFile failed with error code: 5",
                                begin + "DeviceIoControl failed with error code: 1"}));
}
}
