#include "vm-detect/vm_detect.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <intrin.h>

namespace
{
bool thisIsKvm()
{
    int features[4] = {};
    __cpuidex(features, 1, 0);
    int signature[4] = {};
    __cpuidex(signature, 0x40000000, 0);
    return features[2] < 0 && std::memcmp(&signature[1], "KVMKVMKVM\0\0", 12) == 0;
}

// The built library, from the folder of this program.
TEST(VmDetectLibrary, JudgesThisHost)
{
    const HMODULE library = LoadLibraryExW(L"vm_detect.dll", nullptr, LOAD_LIBRARY_SEARCH_APPLICATION_DIR);
    const auto hostType = reinterpret_cast<decltype(&VmProbe_GetHostVMType)>(GetProcAddress(library, "VmProbe_GetHostVMType"));
    const auto isVirtual = reinterpret_cast<decltype(&VmProbe_IsHostVirtual)>(GetProcAddress(library, "VmProbe_IsHostVirtual"));
    ASSERT_TRUE(hostType && isVirtual);

    const std::int32_t type = hostType();
    EXPECT_EQ(isVirtual(type) != 0, type != 0);
    EXPECT_EQ(hostType(), type) << "asked again";
    if (!thisIsKvm())
        GTEST_SKIP() << "this is no KVM guest: what is right here is not known; the answer was " << type;
    EXPECT_NE(type, 0);
}
}
