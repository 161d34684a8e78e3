#include "vm-detect/vm_detect.h"

#include "tests/unit/vm-detect/RawTable.h"
#include "vm-detect/HostQueries.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

// The platform's answers as each case sets them.
namespace
{
std::map<std::uint32_t, VmDetect::CpuidRegisters> leaves;
std::optional<std::vector<std::uint8_t>> table;
std::optional<std::string> registryTexts;
bool firmwareFails = false;
}

namespace VmDetect::Platform
{
CpuidRegisters cpuid(std::uint32_t leaf)
{
    return leaves[leaf];
}

std::optional<std::vector<std::uint8_t>> firmwareTable()
{
    if (firmwareFails)
        throw std::bad_alloc();
    return table;
}

std::optional<std::string> systemBiosVersion()
{
    return registryTexts;
}
}

namespace
{
const VmDetect::CpuidRegisters kNone{};
const VmDetect::CpuidRegisters kBit{0, 0, 0x80000000, 0};
const VmDetect::CpuidRegisters kKvm{0x40000101, 0x4B4D564B, 0x564B4D56, 0x0000004D}; // "KVMKVMKVM"
const VmDetect::CpuidRegisters kHv1{0x31237648, 0, 0, 0};                            // "Hv#1"
const VmDetect::CpuidRegisters kRoot{0, 1, 0, 0};
const VmDetect::CpuidRegisters kNotRoot{0, 0xFFFFFFFE, 0, 0};

VmDetect::CpuidRegisters microsoft(std::uint32_t highestLeaf)
{
    return {highestLeaf, 0x7263694D, 0x666F736F, 0x76482074}; // "Microsoft Hv"
}

TEST(VmFunctions, FromTheProcessorsLeaves)
{
    const struct
    {
        const char* what;
        VmDetect::CpuidRegisters features;
        VmDetect::CpuidRegisters signature;
        VmDetect::CpuidRegisters interfaceName;
        VmDetect::CpuidRegisters privileges;
        VmDetect::CpuidRegisters secondSignature;
        int expected;
    } cases[] = {
        {"no bit, leaves like those of KVM", {~0u, ~0u, 0x7FFFFFFF, ~0u}, kKvm, kKvm, kKvm, kKvm, 0},
        {"KVM behind Hyper-V", kBit, microsoft(0x4000000A), kHv1, kNotRoot, kKvm, 17},
        {"host of Hyper-V", kBit, microsoft(0x40000003), kHv1, kRoot, kNone, 0},
        {"guest of Hyper-V", kBit, microsoft(0x4000000B), kHv1, kNotRoot, kNone, 8},
        {"privileges of another interface", kBit, microsoft(0x4000000B), kNone, kRoot, kNone, 8},
        {"privileges beyond the highest leaf", kBit, microsoft(0x40000002), kHv1, kRoot, kNone, 8},
        {"a hypervisor without a name", kBit, kNone, kNone, kNone, kNone, 10},
    };
    for (const auto& [what, features, signature, interfaceName, privileges, secondSignature, expected] : cases)
    {
        leaves = {{1, features},
                  {0x40000000, signature},
                  {0x40000001, interfaceName},
                  {0x40000003, privileges},
                  {0x40000100, secondSignature}};
        EXPECT_EQ(VmProbe_GetHostVMType(), expected) << what;
    }
}

// Only the firmware is left. Leaf 0 has its letters in EBX, EDX and ECX.
TEST(VmFunctions, AnEmulatedProcessorSaysNothingOfHypervisors)
{
    const VmDetect::CpuidRegisters virtualCpu{1, 0x74726956, 0x20555043, 0x206C6175};   // "Virtual CPU "
    const VmDetect::CpuidRegisters microsoftXta{1, 0x7263694D, 0x41545874, 0x666F736F}; // "MicrosoftXTA"
    for (const VmDetect::CpuidRegisters& vendor : {virtualCpu, microsoftXta})
    {
        leaves = {{0, vendor}, {1, kBit}, {0x40000000, kKvm}};
        const VmDetect::HypervisorFacts facts = VmDetect::hypervisorFacts(&VmDetect::Platform::cpuid);
        EXPECT_EQ(facts.present, false);
        EXPECT_EQ(facts.signature, "");
    }
}

TEST(VmFunctions, FromFirmwareAndRegistryOnceBothCanBeRead)
{
    table = RawTable().add(1, {1, 2}, {"Microsoft Corporation", "Virtual Machine"}).bytes();
    EXPECT_EQ(VmProbe_GetHostVMType(), 8) << "firmware alone";

    registryTexts = std::string("A M I  - 9000520\0BIOS Date: 05/20/09\0\0", 38);
    firmwareFails = true;
    EXPECT_EQ(VmProbe_GetHostVMType(), 0) << "a failure";

    firmwareFails = false;
    EXPECT_EQ(VmProbe_GetHostVMType(), 6) << "both";

    firmwareFails = true;
    EXPECT_EQ(VmProbe_GetHostVMType(), 6) << "kept";
}

TEST(VmFunctions, VirtualTypes)
{
    for (const std::int32_t type : {INT32_MIN, -1, 0, 26, INT32_MAX})
        EXPECT_EQ(VmProbe_IsHostVirtual(type), 0) << type;
    for (const std::int32_t type : {1, 25})
        EXPECT_EQ(VmProbe_IsHostVirtual(type), 1) << type;
}
}
