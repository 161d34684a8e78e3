#include "vm-detect/HostQueries.h"
#include "vm-detect/vm_detect.h"

#include <gtest/gtest.h>

#include <new>

// The platform's answers: a guest of Virtual Server by its firmware and its registry together.
namespace
{
bool firmwareAnswers = false;
bool firmwareFails = false;
bool registryAnswers = true;
}

namespace VmDetect::Platform
{
CpuidRegisters cpuid(std::uint32_t)
{
    return {0, 0, 0x80000000, 0}; // a hypervisor without a name
}

std::optional<std::vector<std::uint8_t>> firmwareTable()
{
    if (firmwareFails)
        throw std::bad_alloc();
    if (!firmwareAnswers)
        return std::nullopt;
    constexpr std::string_view table("\0\2\x8\0\xff\0\0\0\1\6\0\0\1\2Microsoft Corporation\0Virtual Machine\0", 53);
    return std::vector<std::uint8_t>(table.begin(), table.end());
}

std::optional<std::string> systemBiosVersion()
{
    return registryAnswers ? std::optional(std::string("BIOS Date: 05/20/09\0 \0A M I  - 9000520", 38)) : std::nullopt;
}
}

TEST(VmFunctions, KeepTheTypeOnceFirmwareAndRegistryCanBeRead)
{
    EXPECT_EQ(VmProbe_GetHostVMType(), 10) << "the registry alone";
    firmwareAnswers = true;
    registryAnswers = false;
    EXPECT_EQ(VmProbe_GetHostVMType(), 8) << "firmware alone";
    registryAnswers = firmwareFails = true;
    EXPECT_EQ(VmProbe_GetHostVMType(), 0) << "a failure";
    firmwareFails = false;
    EXPECT_EQ(VmProbe_GetHostVMType(), 6) << "both";
    firmwareFails = true;
    EXPECT_EQ(VmProbe_GetHostVMType(), 6) << "kept";
    EXPECT_EQ(VmDetect::multiStringTexts(std::string("VBOX - 1\0 \0last", 15)), (std::vector<std::string>{"VBOX - 1", "last"}));
    for (const std::int32_t type : {INT32_MIN, -1, 0, 1, 25, 26, INT32_MAX})
        EXPECT_EQ(VmProbe_IsHostVirtual(type), type == 1 || type == 25) << type;
}
