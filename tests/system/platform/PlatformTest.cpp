#include "hw-inventory-impl/lib/Platform/Platform.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace
{
using namespace HardwareInventory::Platform;

std::wstring localeText(std::uint32_t locale, LocalePart part)
{
    const auto text = localeInfo(locale, part);
    return text ? text.value() : L"error " + std::to_wstring(text.error().code);
}

TEST(Platform, LocalesAreNamedByTheirStandards)
{
    EXPECT_EQ(localeText(0x0409, LocalePart::language), L"en");
    EXPECT_EQ(localeText(0x0C07, LocalePart::country), L"AT");
    EXPECT_EQ(localeText(0xFFFF, LocalePart::country), L"error 87");
}

TEST(Platform, MemoryIsCountedInBytes)
{
    EXPECT_GT(totalPhysicalMemory().value(), std::uint64_t{256} << 20);
}

TEST(Platform, AFirmwareTableIsReadInTwoSteps)
{
    EXPECT_EQ(enumerateFirmwareTables(0x58585858), 0u);
    const std::uint32_t smbios = 0x52534D42;
    const auto firmware = firmwareTable(smbios, 0);
    if (!firmware)
        GTEST_SKIP() << "no firmware table on this machine";
    EXPECT_GE(firmware.value()[1], 2); // the version of the table
}

TEST(Platform, WhatIsNoDriveOrDeviceReportsTheStep)
{
    const std::pair<const wchar_t*, TrimStep> drives[] = {{L"\\\\.\\PHYSICALDRIVE99", TrimStep::openDrive},
                                                          {L"\\\\.\\NUL", TrimStep::query}};
    for (const auto& [path, step] : drives)
    {
        const auto failure = trimEnabled(path).error();
        EXPECT_EQ(failure.step, step) << testing::PrintToString(path);
        EXPECT_NE(failure.code, 0u) << testing::PrintToString(path);
    }
    for (const wchar_t* id : {L"PCI\\VEN_FFFF&DEV_FFFF\\0", L"no identifier"})
    {
        const auto failure = deviceLocation(id).error();
        EXPECT_LE(failure.step, DeviceSetupStep::element) << testing::PrintToString(id);
        EXPECT_NE(failure.code, 0u) << testing::PrintToString(id);
    }
}

TEST(Platform, ADomainControllerHasANameOrAStatus)
{
    const DomainController controller = domainController();
    if (controller.status == 0)
        EXPECT_EQ(controller.name.substr(0, 2), L"\\\\");
    else
        EXPECT_EQ(controller.name, L"");
    EXPECT_EQ(controller.freeStatus, 0u);
    EXPECT_TRUE(GetModuleHandleW(L"netapi32.dll"));
}

TEST(Platform, ModulesComeFromTheSystemFolderOrTheHost)
{
    const DWORD errorMode = GetThreadErrorMode();

    // The file lies beside this program, where the system's own search would find it.
    EXPECT_EQ(loadModule(L"host-module.dll"), nullptr);

    const HMODULE ofHost = LoadLibraryW(L"host-module.dll");
    ASSERT_TRUE(ofHost);
    const ModuleHandle shared = loadModule(L"host-module.dll");
    EXPECT_EQ(shared, ofHost);
    EXPECT_NE(findProcedure(shared, "hostAnswer"), nullptr);

    // A reference of its own, so that neither side takes the module from the other.
    FreeLibrary(ofHost);
    EXPECT_EQ(GetModuleHandleW(L"host-module.dll"), shared);
    freeModule(shared);
    EXPECT_EQ(GetModuleHandleW(L"host-module.dll"), nullptr);

    EXPECT_NE(findProcedure(loadModule(L"version.dll"), "VerQueryValueW"), nullptr);
    EXPECT_EQ(findProcedure(nullptr, "main"), nullptr);
    EXPECT_EQ(GetThreadErrorMode(), errorMode);
}
}
