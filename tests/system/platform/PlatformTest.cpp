#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "tests/com/Service.h"
#include "vm-detect/HostQueries.h"

#include <gmock/gmock.h>

#include <thread>

extern "C" __declspec(dllexport) int ofTheProgram = 1;

namespace
{
using namespace HardwareInventory::Platform;

TEST(Platform, FactsOfTheSystem)
{
    EXPECT_EQ(localeInfo(0x0409, LocalePart::language).value(), L"en");
    EXPECT_EQ(localeInfo(0x0C07, LocalePart::country).value(), L"AT");
    EXPECT_EQ(localeInfo(0xFFFF, LocalePart::country).error().code, 87u);
    EXPECT_GT(totalPhysicalMemory().value(), std::uint64_t{256} << 20);
    EXPECT_EQ(enumerateFirmwareTables(0x58585858), 0u);

    const DomainController controller = domainController();
    EXPECT_EQ(controller.name.substr(0, 2), controller.status == 0 ? L"\\\\" : L"");
    EXPECT_EQ(controller.freeStatus, 0u);
    EXPECT_TRUE(GetModuleHandleW(L"netapi32.dll"));
}

UINT sizes[2]; // of a table at the first query and at the next one

UINT WINAPI firmware(DWORD, DWORD, void* buffer, DWORD room)
{
    std::fill_n(static_cast<char*>(buffer), buffer && room >= sizes[1] ? sizes[1] : 0, char{7});
    return sizes[buffer != nullptr];
}

TEST(Platform, AFirmwareTableMayChangeBetweenItsQueries)
{
    if (const auto table = firmwareTable(0x52534D42, 0))
        EXPECT_GE(table.value()[1], 2); // the version of the system's own
    fakes::replaceImport(GetModuleHandleW(nullptr), "kernel32.dll", "GetSystemFirmwareTable", &firmware);
    constexpr int kNotRead = -1, kNoSize = -2;
    using Case = std::tuple<UINT, UINT, int>;
    for (const auto& [first, second, outcome] :
         {Case{40, 40, 40}, {40, 30, 30}, {40, 41, kNotRead}, {40, 0, kNotRead}, {0, 40, kNoSize}})
    {
        std::tie(sizes[0], sizes[1]) = std::pair(first, second);
        const auto table = firmwareTable(0x52534D42, 0);
        EXPECT_EQ(table ? std::ranges::count(table.value(), 7) : table.error() == FirmwareStep::read ? kNotRead : kNoSize, outcome);
        EXPECT_TRUE(!table || std::ssize(table.value()) == outcome);
        const auto detected = VmDetect::Platform::firmwareTable();
        EXPECT_EQ(detected ? std::ssize(*detected) : -1, std::max(outcome, -1));
    }
}

TEST(Platform, WhatIsNoDriveOrDeviceReportsTheStep)
{
    EXPECT_EQ(trimEnabled(L"\\\\.\\PHYSICALDRIVE99").error().step, TrimStep::openDrive);
    const auto trim = trimEnabled(L"\\\\.\\NUL").error();
    EXPECT_TRUE(trim.step == TrimStep::query && trim.code != 0) << trim.code;
    for (const wchar_t* identifier : {L"PCI\\VEN_FFFF&DEV_FFFF\\0", L"no identifier"})
    {
        const auto place = deviceLocation(identifier).error();
        EXPECT_TRUE(place.step == DeviceSetupStep::element && place.code == ERROR_NO_MORE_ITEMS) << place.code;
    }
}

TEST(Platform, ModulesComeFromTheSystemFolderOrTheHost)
{
    const DWORD errorMode = GetThreadErrorMode();
    // The file lies beside this program, where the system's own search would find it.
    EXPECT_EQ(loadModule(L"host-module.dll"), nullptr);
    const HMODULE ofHost = LoadLibraryW(L"host-module.dll");
    const ModuleHandle shared = loadModule(L"host-module.dll");
    EXPECT_NE(findProcedure(shared, "hostAnswer"), nullptr);
    // A reference of its own, so that neither side takes the module from the other.
    FreeLibrary(ofHost);
    EXPECT_EQ(GetModuleHandleW(L"host-module.dll"), shared);
    freeModule(shared);
    EXPECT_EQ(GetModuleHandleW(L"host-module.dll"), nullptr);
    EXPECT_NE(findProcedure(loadModule(L"version.dll"), "VerQueryValueW"), nullptr);
    EXPECT_EQ(findProcedure(nullptr, "ofTheProgram"), nullptr);
    EXPECT_EQ(GetThreadErrorMode(), errorMode);
}

// The machine's part of the registry is a fresh key of the user. Tests run side by side.
TEST(Registry, AValueIsReadHoweverItEndsOrGrowsAndAFailureHasItsStep)
{
    const std::wstring path = L"Software\\InventoryTest" + std::to_wstring(GetCurrentProcessId());
    HKEY machine = nullptr, key = nullptr;
    RegCreateKeyW(HKEY_CURRENT_USER, path.c_str(), &machine);
    RegCreateKeyW(machine, L"SOFTWARE\\Inventory", &key);
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine);
    const auto set = [&](DWORD type, const std::wstring& data, std::size_t bytes)
    { RegSetValueExW(key, L"Value", 0, type, reinterpret_cast<const BYTE*>(data.c_str()), static_cast<DWORD>(bytes)); };
    const auto read = [](const wchar_t* from = L"SOFTWARE\\Inventory")
    {
        const auto text = registryString(RegistryRoot::localMachine, from, L"Value");
        return text ? text.value() : std::to_wstring(int(text.error().step)) + L": " + std::to_wstring(text.error().code);
    };
    EXPECT_EQ(read(L"SOFTWARE\\Nowhere"), L"0: 2");
    EXPECT_EQ(read(), L"1: 2");
    const std::tuple<DWORD, std::wstring, std::size_t, std::wstring> cases[] = {
        {REG_DWORD, L"\x16", 4, L"2: 1630"},
        {REG_SZ, L"22H2", 10, L"22H2"},
        {REG_SZ, L"22H2", 8, L"22H2"},  // not terminated
        {REG_SZ, L"22H2x", 9, L"22H2"}, // half a character more
        {REG_SZ, L"", 0, L""},
        {REG_SZ, std::wstring(L"22\0H2", 5), 12, L"22"},
        {REG_EXPAND_SZ, L"%TEMP%", 14, L"%TEMP%"},
        {REG_SZ, std::wstring(5000, L'x'), 10002, std::wstring(5000, L'x')}};
    for (const auto& [type, data, bytes, text] : cases)
        EXPECT_EQ((set(type, data, bytes), read()), text);

    const std::wstring brief(1, L's'), lengthy(300, L'l');
    const auto write = [&](std::stop_token end)
    {
        for (bool longer = false; !end.stop_requested(); longer = !longer)
            set(REG_SZ, longer ? lengthy : brief, longer ? 602 : 4);
    };
    set(REG_SZ, brief, 4);
    std::jthread writer(write);
    for (int round = 0; round < 2000; ++round)
        EXPECT_THAT(read(), testing::AnyOf(brief, lengthy)) << "round " << round;
    writer = {};

    EXPECT_EQ(VmDetect::Platform::systemBiosVersion(), "");
    RegCreateKeyW(machine, L"HARDWARE\\DESCRIPTION\\System", &key);
    const auto versionAs = [&](DWORD type)
    {
        RegSetValueExA(key, "SystemBiosVersion", 0, type, reinterpret_cast<const BYTE*>("VBOX\0two\0"), 10);
        return VmDetect::Platform::systemBiosVersion();
    };
    EXPECT_EQ(versionAs(REG_MULTI_SZ), std::string("VBOX\0two\0", 10));
    EXPECT_EQ(versionAs(REG_SZ)->substr(0, 4), "VBOX");
    EXPECT_EQ(versionAs(REG_BINARY), "");
    RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
}

std::uint32_t destroyedBy = 0; // the thread

TEST(ThreadSlot, AFiberTakesItsValueAlongOnItsOwnThreadAlone)
{
    static int value = 0;
    const auto keep = [](void* caller)
    {
        EXPECT_TRUE(keepForThread(&value, [](void* kept) { destroyedBy = kept == &value ? currentThreadId() : 0; }));
        SwitchToFiber(caller);
    };
    for (const bool elsewhere : {true, false})
        std::thread(
            [&]
            {
                EXPECT_EQ(threadValue(), nullptr);
                void* const fiber = CreateFiber(0, keep, ConvertThreadToFiber(nullptr));
                SwitchToFiber(fiber);
                elsewhere ? std::thread(DeleteFiber, fiber).join() : DeleteFiber(fiber);
                EXPECT_EQ(threadValue(), elsewhere ? &value : nullptr);
                EXPECT_EQ(destroyedBy, elsewhere ? 0 : GetCurrentThreadId());
            })
            .join();
    // Without room in its slot a thread keeps nothing.
    fakes::replaceImport(
        GetModuleHandleW(nullptr), "kernel32.dll", "FlsSetValue", +[](DWORD, void*) -> BOOL { return FALSE; });
    EXPECT_FALSE(keepForThread(&value, [](void*) {}));
}
}
