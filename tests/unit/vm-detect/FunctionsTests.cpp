#include "vm-detect/vm_detect.h"

#include "tests/unit/vm-detect/RawTable.h"
#include "vm-detect/HostQueries.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

// The platform's answers as each case sets them.
namespace
{
using Leaves = std::map<std::uint32_t, VmDetect::CpuidRegisters>;

Leaves leaves;
std::vector<std::uint8_t> table;
std::string registryTexts;
bool firmwareFails = false;
}

namespace VmDetect::Platform
{
CpuidRegisters cpuid(std::uint32_t leaf)
{
    // A processor answers a leaf that it does not know with leftovers.
    const auto known = leaves.find(leaf);
    return known != leaves.end() ? known->second : CpuidRegisters{0xFFFFFFFF, 0x4B4D564B, 0x564B4D56, 0x0000004D};
}

std::vector<std::uint8_t> firmwareTable()
{
    if (firmwareFails)
        throw std::bad_alloc();
    return table;
}

std::string systemBiosVersion()
{
    return registryTexts;
}
}

namespace
{
constexpr std::uint32_t kBit = 0x80000000;
constexpr std::uint32_t kHv1 = 0x31237648;

VmDetect::CpuidRegisters microsoft(std::uint32_t highestLeaf)
{
    return {highestLeaf, 0x7263694D, 0x666F736F, 0x76482074}; // "Microsoft Hv"
}

TEST(VmFunctions, FromTheProcessorsLeaves)
{
    const VmDetect::CpuidRegisters kvm{0x40000101, 0x4B4D564B, 0x564B4D56, 0x0000004D}; // "KVMKVMKVM"
    const VmDetect::CpuidRegisters none{};
    const VmDetect::CpuidRegisters root{0, 1, 0, 0};
    const VmDetect::CpuidRegisters notRoot{0, 0xFFFFFFFE, 0, 0};
    const struct
    {
        const char* what;
        Leaves leaves;
        int expected;
    } cases[] = {
        {"no bit, leaves that look like KVM", {{1, {~0u, ~0u, ~kBit, ~0u}}}, 0},
        {"KVM", {{1, {0, 0, kBit, 0}}, {0x40000000, kvm}, {0x40000100, none}}, 17},
        {"KVM behind Hyper-V",
         {{1, {0, 0, kBit, 0}}, {0x40000000, microsoft(0x4000000A)}, {0x40000001, {kHv1, 0, 0, 0}}, {0x40000003, notRoot},
          {0x40000100, kvm}},
         17},
        {"host of Hyper-V",
         {{1, {0, 0, kBit, 0}}, {0x40000000, microsoft(0x4000000B)}, {0x40000001, {kHv1, 0, 0, 0}}, {0x40000003, root},
          {0x40000100, none}},
         0},
        {"guest of Hyper-V",
         {{1, {0, 0, kBit, 0}}, {0x40000000, microsoft(0x4000000B)}, {0x40000001, {kHv1, 0, 0, 0}}, {0x40000003, notRoot},
          {0x40000100, none}},
         8},
        {"privileges of another interface",
         {{1, {0, 0, kBit, 0}}, {0x40000000, microsoft(0x4000000B)}, {0x40000001, none}, {0x40000003, root}, {0x40000100, none}},
         8},
        {"privileges beyond the highest leaf",
         {{1, {0, 0, kBit, 0}}, {0x40000000, microsoft(0x40000002)}, {0x40000001, {kHv1, 0, 0, 0}}, {0x40000003, root},
          {0x40000100, none}},
         8},
        {"a hypervisor without a name", {{1, {0, 0, kBit, 0}}, {0x40000000, none}, {0x40000100, none}}, 10},
    };
    for (const auto& each : cases)
    {
        leaves = each.leaves;
        EXPECT_EQ(VmProbe_GetHostVMType(), each.expected) << each.what;
    }
}

TEST(VmFunctions, FromFirmwareAndRegistry)
{
    leaves = {{1, {}}};
    EXPECT_EQ(VmProbe_GetHostVMType(), 0) << "neither";

    table = RawTable().add(1, {1, 2}, {"Microsoft Corporation", "Virtual Machine"}).bytes();
    EXPECT_EQ(VmProbe_GetHostVMType(), 8) << "firmware";

    registryTexts = std::string("A M I  - 9000520\0BIOS Date: 05/20/09\0\0", 38);
    EXPECT_EQ(VmProbe_GetHostVMType(), 6) << "both";

    firmwareFails = true;
    EXPECT_EQ(VmProbe_GetHostVMType(), 0) << "a failure";
}

TEST(VmFunctions, VirtualTypes)
{
    const struct
    {
        std::int32_t type;
        std::int32_t expected;
    } cases[] = {{INT32_MIN, 0}, {-1, 0}, {0, 0}, {1, 1}, {10, 1}, {25, 1}, {26, 0}, {INT32_MAX, 0}};
    for (const auto& each : cases)
        EXPECT_EQ(VmProbe_IsHostVirtual(each.type), each.expected) << each.type;
}
}
