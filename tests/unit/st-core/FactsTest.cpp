#include "hw-inventory-impl/lib/DeviceStatus.h"
#include "hw-inventory-impl/lib/VirtualMachine.h"
#include "tests/fakes/FakeMachine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

using namespace HardwareInventory;
using fakes::machine;

TEST(DeviceStatus, FromTheTextOfAManagementClass)
{
    const struct
    {
        const wchar_t* text;
        std::uint32_t code;
    } cases[] = {
        {L"OK", 0},     {L"Degraded", 0}, {L"Pred Fail", 0}, {L"Error", 1}, {L"Starting", 1}, {L"Stopping", 1}, {L"Service", 1},
        {L"Unknown", 3}, {L"ok", 3},      {L"Error ", 3},    {L" OK", 3},   {L"", 3},
    };
    for (const auto& [text, code] : cases)
        EXPECT_EQ(static_cast<std::uint32_t>(statusFromWmiText(text)), code) << testing::PrintToString(text);
}

TEST(DeviceStatus, ToTheTextOfTheDocuments)
{
    EXPECT_STREQ(statusText(DeviceStatus::ok), L"ok");
    EXPECT_STREQ(statusText(DeviceStatus::hasIssues), L"has issues");
    EXPECT_STREQ(statusText(DeviceStatus::disabledByUser), L"disabled by user");
    for (const std::uint32_t code : {3u, 4u, 7u, 0xFFFFFFFFu})
        EXPECT_STREQ(statusText(static_cast<DeviceStatus>(code)), L"") << code;
}

TEST(VirtualMachine, NamesTheHypervisor)
{
    const struct
    {
        std::int32_t type;
        const wchar_t* name;
    } cases[] = {{1, L"VMware Workstation"}, {2, L"VMware GSX"},  {8, L"Microsoft Hyper-V"}, {10, L"Unknown"},
                 {15, L"VirtualBox"},        {17, L"KVM"},        {22, L"Miscrosoft Azure"}, {25, L"Scale HC3"}};
    for (const auto& [type, name] : cases)
    {
        machine().vmType = type;
        EXPECT_TRUE(isHostVirtual()) << type;
        EXPECT_EQ(hypervisorName(), name) << type;
    }
}

TEST(VirtualMachine, AsksTheLibraryAnewEachTime)
{
    // A library in place of ours may call a type virtual and change its mind between two questions.
    machine().vmType = 25;
    machine().fails = [](const std::string& operation) {
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
    EXPECT_FALSE(isHostVirtual());
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

TEST(VirtualMachine, NamesEmulatedDevices)
{
    const EmulatedDevice board = emulatedBaseBoard(L"KVM");
    EXPECT_EQ(board.name, L"Base Board");
    EXPECT_EQ(board.manufacturer, L"KVM Virtual Platform");
    EXPECT_EQ(board.model, L"KVM Emulated Base Board");
    const EmulatedDevice adapter = emulatedVideoAdapter(L"Xen");
    EXPECT_EQ(adapter.name, L"Xen Emulated GPU");
    EXPECT_EQ(adapter.manufacturer, L"Xen Virtual Platform");
    EXPECT_EQ(adapter.model, L"Xen Emulated GPU");
}
