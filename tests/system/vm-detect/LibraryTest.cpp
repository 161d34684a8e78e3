#include "vm-detect/vm_detect.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <intrin.h>

// The built library, from the folder of this program.
TEST(VmDetectLibrary, JudgesThisHost)
{
    const HMODULE library = LoadLibraryExW(L"vm_detect.dll", nullptr, LOAD_LIBRARY_SEARCH_APPLICATION_DIR);
    const auto hostType = reinterpret_cast<decltype(&VmProbe_GetHostVMType)>(GetProcAddress(library, "VmProbe_GetHostVMType"));
    const auto isVirtual = reinterpret_cast<decltype(&VmProbe_IsHostVirtual)>(GetProcAddress(library, "VmProbe_IsHostVirtual"));
    const std::int32_t type = hostType();
    EXPECT_EQ(isVirtual(type) != 0, type != 0);
    EXPECT_EQ(hostType(), type) << "asked again";
    int signature[4] = {};
    __cpuidex(signature, 0x40000000, 0);
    if (std::memcmp(&signature[1], "KVMKVMKVM\0\0", 12) == 0)
        EXPECT_NE(type, 0);
}
