#include "hw-inventory-impl/lib/Platform/Platform.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace
{
using namespace HardwareInventory::Platform;

const std::wstring kKey = L"SOFTWARE\\Inventory";

// While it lives, the machine's part of the registry is a fresh key of the user.
class RegistryTest : public testing::Test
{
protected:
    RegistryTest()
    {
        RegCreateKeyW(HKEY_CURRENT_USER, path_.c_str(), &machine_);
        RegCreateKeyW(machine_, kKey.c_str(), &key_);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine_);
    }
    ~RegistryTest() override
    {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(key_);
        RegCloseKey(machine_);
        RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
    }

    void set(DWORD type, const wchar_t* data, std::size_t bytes)
    {
        RegSetValueExW(key_, L"Value", 0, type, reinterpret_cast<const BYTE*>(data), static_cast<DWORD>(bytes));
    }

    static auto read(const std::wstring& key) { return registryString(RegistryRoot::localMachine, key, L"Value"); }

private:
    const std::wstring path_ = L"Software\\InventoryTest" + std::to_wstring(GetCurrentProcessId()); // tests run side by side
    HKEY machine_ = nullptr;
    HKEY key_ = nullptr;
};

TEST_F(RegistryTest, ATextIsReadHoweverItEnds)
{
    const struct
    {
        const char* name;
        DWORD type;
        std::wstring data;
        std::size_t bytes;
        std::wstring text;
    } cases[] = {
        {"terminated", REG_SZ, L"22H2", 10, L"22H2"},
        {"not terminated", REG_SZ, L"22H2", 8, L"22H2"},
        {"half a character more", REG_SZ, L"22H2x", 9, L"22H2"},
        {"nothing", REG_SZ, L"", 0, L""},
        {"zero inside", REG_SZ, std::wstring(L"22\0H2", 5), 12, L"22"},
        {"with a variable", REG_EXPAND_SZ, L"%TEMP%", 14, L"%TEMP%"},
        {"long", REG_SZ, std::wstring(5000, L'x'), 10002, std::wstring(5000, L'x')},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.name);
        set(test.type, test.data.c_str(), test.bytes);
        EXPECT_EQ(read(kKey).value(), test.text);
    }
}

TEST_F(RegistryTest, AFailureReportsItsStepAndStatus)
{
    const auto expectFailure = [](const std::wstring& key, RegistryStep step, std::uint32_t status)
    {
        const auto failure = read(key).error();
        EXPECT_EQ(failure.step, step);
        EXPECT_EQ(failure.code, status);
    };
    expectFailure(L"SOFTWARE\\Nowhere", RegistryStep::openKey, ERROR_FILE_NOT_FOUND);
    expectFailure(kKey, RegistryStep::valueSize, ERROR_FILE_NOT_FOUND);
    set(REG_DWORD, L"\x16", 4);
    expectFailure(kKey, RegistryStep::value, ERROR_UNSUPPORTED_TYPE);
}

TEST_F(RegistryTest, AValueThatGrowsMeanwhileIsReadWhole)
{
    const std::wstring brief(1, L's');
    const std::wstring lengthy(300, L'l');
    set(REG_SZ, brief.c_str(), 4);
    std::atomic<bool> done = false;
    std::thread writer(
        [&]
        {
            while (!done)
                for (const std::wstring& text : {brief, lengthy})
                    set(REG_SZ, text.c_str(), 2 * text.size() + 2);
        });
    for (int round = 0; round < 2000; ++round)
    {
        const auto text = read(kKey);
        EXPECT_TRUE(text && (text.value() == brief || text.value() == lengthy)) << "round " << round;
    }
    done = true;
    writer.join();
}
}
