#include "hw-inventory-impl/lib/DeviceStatus.h"
#include "hw-inventory-impl/lib/VirtualMachine.h"
#include "tests/fakes/FakeMachine.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace HardwareInventory;
using fakes::machine;

TEST(DeviceStatus, FromTheTextOfAWmiClass)
{
    const std::pair<const wchar_t*, DeviceStatus> cases[] = {
        {L"OK", DeviceStatus::ok},           {L"Pred Fail", DeviceStatus::ok},
        {L"Error", DeviceStatus::hasIssues}, {L"Service", DeviceStatus::hasIssues},
        {L"ok", DeviceStatus::unknown},      {L"Error ", DeviceStatus::unknown},
        {L"", DeviceStatus::unknown},
    };
    for (const auto& [text, status] : cases)
        EXPECT_EQ(statusFromWmiText(text), status) << testing::PrintToString(text);
}

TEST(DeviceStatus, ToTheTextOfTheDocuments)
{
    EXPECT_STREQ(statusText(DeviceStatus::ok), L"ok");
    EXPECT_STREQ(statusText(DeviceStatus::hasIssues), L"has issues");
    EXPECT_STREQ(statusText(DeviceStatus::disabledByUser), L"disabled by user");
    for (const std::uint32_t code : {3u, 0xFFFFFFFFu})
        EXPECT_STREQ(statusText(static_cast<DeviceStatus>(code)), L"") << code;
}

TEST(VirtualMachine, NamesTheHypervisor)
{
    const std::pair<std::int32_t, const wchar_t*> cases[] = {
        {1, L"VMware Workstation"}, {2, L"VMware GSX"}, {8, L"Microsoft Hyper-V"}, {10, L"Unknown"},
        {15, L"VirtualBox"},        {17, L"KVM"},       {22, L"Miscrosoft Azure"}, {25, L"Scale HC3"}};
    for (const auto& [type, name] : cases)
    {
        machine().vmType = type;
        EXPECT_EQ(hypervisorName(), name) << type;
    }
}

TEST(VirtualMachine, AsksTheLibraryEachTime)
{
    // Another vm_detect library may return a virtual type first and another type the next time.
    machine().vmType = 25;
    machine().fails = [](const std::string& operation)
    {
        const auto asked = std::ranges::count(machine().calls, operation);
        machine().vmType = operation == "VmProbe_GetHostVMType" && asked == 2 ? 26 : machine().vmType;
        return false;
    };
    EXPECT_EQ(hypervisorName(), L"Unknown");
    EXPECT_EQ(machine().calls,
              (std::vector<std::string>{"VmProbe_GetHostVMType", "VmProbe_IsHostVirtual", "VmProbe_GetHostVMType"}));
}

TEST(VirtualMachine, HasNoNameOnAPhysicalHost)
{
    try
    {
        hypervisorName();
        FAIL() << "no exception";
    }
    catch (const std::runtime_error& error)
    {
        EXPECT_STREQ(error.what(), "not in virtual machine, can't detect hypervizor type");
    }
}
