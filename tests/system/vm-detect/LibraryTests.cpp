#include "vm-detect/vm_detect.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <filesystem>
#include <intrin.h>
#include <string>
#include <vector>

// The built libraries as a host loads them.
namespace
{
class Library
{
public:
    // A path relative to this program's folder.
    explicit Library(const std::filesystem::path& path)
    {
        wchar_t program[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, program, MAX_PATH);
        module_ = LoadLibraryW((std::filesystem::path(program).parent_path() / path).c_str());
        if (module_ != nullptr)
        {
            hostType = reinterpret_cast<decltype(hostType)>(GetProcAddress(module_, "VmProbe_GetHostVMType"));
            isVirtual = reinterpret_cast<decltype(isVirtual)>(GetProcAddress(module_, "VmProbe_IsHostVirtual"));
        }
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library()
    {
        if (module_ != nullptr)
            FreeLibrary(module_);
    }

    std::vector<std::string> exportedNames() const
    {
        const auto* const base = reinterpret_cast<const std::uint8_t*>(module_);
        const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
        const auto* const header = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
        const auto& place = header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
        const auto* const exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + place.VirtualAddress);
        const auto* const names = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
        std::vector<std::string> result;
        for (DWORD index = 0; index < exports->NumberOfNames; ++index)
            result.emplace_back(reinterpret_cast<const char*>(base + names[index]));
        return result;
    }

    decltype(&VmProbe_GetHostVMType) hostType = nullptr;
    decltype(&VmProbe_IsHostVirtual) isVirtual = nullptr;

private:
    HMODULE module_ = nullptr;
};

const std::vector<std::string> kTwoNames{"VmProbe_GetHostVMType", "VmProbe_IsHostVirtual"};

bool thisIsKvm()
{
    int features[4] = {};
    __cpuidex(features, 1, 0);
    int signature[4] = {};
    __cpuidex(signature, 0x40000000, 0);
    return features[2] < 0 && std::memcmp(&signature[1], "KVMKVMKVM\0\0", 12) == 0;
}

TEST(VmDetectLibrary, JudgesThisHost)
{
    const Library library(L"vm_detect.dll");
    ASSERT_TRUE(library.hostType && library.isVirtual);
    EXPECT_EQ(library.exportedNames(), kTwoNames);

    const std::int32_t type = library.hostType();
    EXPECT_EQ(library.isVirtual(type) != 0, type != 0);
    EXPECT_EQ(library.hostType(), type) << "asked again";
    if (!thisIsKvm())
        GTEST_SKIP() << "this is no KVM guest: what is right here is not known; the answer was " << type;
    EXPECT_NE(type, 0);
}

TEST(VmDetectLibrary, PhysicalStandIn)
{
    const Library library(L"physical\\vm_detect.dll");
    ASSERT_TRUE(library.hostType && library.isVirtual);
    EXPECT_EQ(library.exportedNames(), kTwoNames);
    EXPECT_EQ(library.isVirtual(library.hostType()), 0);
}
}
