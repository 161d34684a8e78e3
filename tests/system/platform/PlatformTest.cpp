#include "hw-inventory-impl/lib/Platform.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace
{
using namespace HardwareInventory::Platform;

constexpr std::uint32_t kSmbiosProvider = 0x52534D42;

std::wstring localeText(std::uint32_t locale, LocalePart part)
{
    const auto answer = localeInfo(locale, part);
    const auto* text = std::get_if<std::wstring>(&answer);
    return text ? *text : L"error " + std::to_wstring(std::get<ErrorNumber>(answer).code);
}

TEST(Platform, LocalesAreNamedByTheirStandards)
{
    EXPECT_EQ(localeText(0x0409, LocalePart::language), L"en");
    EXPECT_EQ(localeText(0x0409, LocalePart::country), L"US");
    EXPECT_EQ(localeText(0x0C07, LocalePart::language), L"de");
    EXPECT_EQ(localeText(0x0C07, LocalePart::country), L"AT");
    EXPECT_EQ(localeText(0xFFFF, LocalePart::country), L"error 87");
    EXPECT_GE(localeText(kSystemDefaultLocale, LocalePart::language).size(), 2u);
}

TEST(Platform, MemoryIsCountedInBytes)
{
    const auto answer = totalPhysicalMemory();
    ASSERT_TRUE(std::holds_alternative<std::uint64_t>(answer));
    EXPECT_GT(std::get<std::uint64_t>(answer), std::uint64_t{256} << 20);
}

TEST(Platform, AFirmwareTableIsReadInTwoSteps)
{
    constexpr std::uint32_t unknownProvider = 0x58585858;
    EXPECT_EQ(enumerateFirmwareTables(unknownProvider), 0u);
    EXPECT_EQ(firmwareTable(unknownProvider, 0, nullptr, 0), 0u);

    const std::uint32_t size = firmwareTable(kSmbiosProvider, 0, nullptr, 0);
    if (size == 0)
        GTEST_SKIP() << "no firmware table on this machine";
    std::vector<std::uint8_t> table(size);
    EXPECT_EQ(firmwareTable(kSmbiosProvider, 0, table.data(), size), size);
    EXPECT_GE(table[1], 2); // the version of the table
}

TEST(Platform, ADriveThatIsNoneTellsTheStep)
{
    const struct
    {
        const wchar_t* path;
        TrimStep step;
    } cases[] = {{L"\\\\.\\PHYSICALDRIVE99", TrimStep::openDrive}, {L"", TrimStep::openDrive}, {L"\\\\.\\NUL", TrimStep::query}};
    for (const auto& test : cases)
    {
        SCOPED_TRACE(testing::PrintToString(std::wstring(test.path)));
        const auto answer = trimEnabled(test.path);
        ASSERT_TRUE(std::holds_alternative<Failure<TrimStep>>(answer));
        EXPECT_EQ(std::get<Failure<TrimStep>>(answer).step, test.step);
        EXPECT_NE(std::get<Failure<TrimStep>>(answer).code, 0u);
    }
}

TEST(Platform, ADeviceThatIsNoneTellsTheStep)
{
    for (const wchar_t* id : {L"PCI\\VEN_FFFF&DEV_FFFF\\0", L"ROOT\\NOTHING\\0000", L"no identifier", L"\\", L"PCI\\\\"})
    {
        SCOPED_TRACE(testing::PrintToString(std::wstring(id)));
        const auto answer = deviceLocation(id);
        ASSERT_TRUE(std::holds_alternative<Failure<DeviceSetupStep>>(answer));
        EXPECT_LE(std::get<Failure<DeviceSetupStep>>(answer).step, DeviceSetupStep::element);
        EXPECT_NE(std::get<Failure<DeviceSetupStep>>(answer).code, 0u);
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
    EXPECT_EQ(loadModule(L"no-such-module.dll"), nullptr);

    const HMODULE ofHost = LoadLibraryW(L"host-module.dll");
    ASSERT_TRUE(ofHost);
    const ModuleHandle shared = loadModule(L"host-module.dll");
    EXPECT_EQ(shared, ofHost);
    EXPECT_NE(findProcedure(shared, "hostAnswer"), nullptr);
    EXPECT_EQ(findProcedure(shared, "HostAnswer"), nullptr);

    // A reference of its own, so that neither side takes the module from the other.
    FreeLibrary(ofHost);
    EXPECT_EQ(GetModuleHandleW(L"host-module.dll"), shared);
    freeModule(shared);
    EXPECT_EQ(GetModuleHandleW(L"host-module.dll"), nullptr);

    const ModuleHandle ofSystem = loadModule(L"version.dll");
    EXPECT_NE(findProcedure(ofSystem, "VerQueryValueW"), nullptr);
    freeModule(ofSystem);

    EXPECT_EQ(findProcedure(nullptr, "main"), nullptr);
    freeModule(nullptr);
    EXPECT_EQ(GetThreadErrorMode(), errorMode);
}
}
