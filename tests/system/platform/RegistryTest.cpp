#include "hw-inventory-impl/lib/Platform.h"

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
        RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\InventoryTest");
        RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\InventoryTest", &machine_);
        RegCreateKeyW(machine_, kKey.c_str(), &key_);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine_);
    }
    ~RegistryTest() override
    {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(key_);
        RegCloseKey(machine_);
        RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\InventoryTest");
    }

    void set(const wchar_t* name, DWORD type, const void* data, std::size_t bytes)
    {
        RegSetValueExW(key_, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(bytes));
    }

    static auto read(const std::wstring& key, const std::wstring& name)
    {
        return registryString(RegistryRoot::localMachine, key, name);
    }

private:
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
        {"terminated twice", REG_SZ, std::wstring(L"22H2\0", 5), 12, L"22H2"},
        {"half a character more", REG_SZ, L"22H2x", 9, L"22H2"},
        {"half a character", REG_SZ, L"2", 1, L""},
        {"nothing", REG_SZ, L"", 0, L""},
        {"terminator alone", REG_SZ, L"", 2, L""},
        {"zero inside", REG_SZ, std::wstring(L"22\0H2", 5), 12, L"22"},
        {"with a variable", REG_EXPAND_SZ, L"%TEMP%", 14, L"%TEMP%"},
        {"long", REG_SZ, std::wstring(5000, L'x'), 10002, std::wstring(5000, L'x')},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.name);
        set(L"Value", test.type, test.data.c_str(), test.bytes);
        const auto answer = read(kKey, L"Value");
        ASSERT_TRUE(std::holds_alternative<std::wstring>(answer));
        EXPECT_EQ(std::get<std::wstring>(answer), test.text);
    }
}

TEST_F(RegistryTest, AFailureTellsItsStepAndStatus)
{
    const DWORD number = 22;
    set(L"Number", REG_DWORD, &number, sizeof number);
    const struct
    {
        const wchar_t* key;
        const wchar_t* value;
        RegistryStep step;
        std::uint32_t status;
    } cases[] = {{L"SOFTWARE\\Nowhere", L"Value", RegistryStep::openKey, ERROR_FILE_NOT_FOUND},
                 {kKey.c_str(), L"Value", RegistryStep::valueSize, ERROR_FILE_NOT_FOUND},
                 {kKey.c_str(), L"Number", RegistryStep::value, ERROR_UNSUPPORTED_TYPE}};
    for (const auto& test : cases)
    {
        SCOPED_TRACE(testing::Message() << test.key << " " << test.value);
        const auto answer = read(test.key, test.value);
        ASSERT_TRUE(std::holds_alternative<Failure<RegistryStep>>(answer));
        EXPECT_EQ(std::get<Failure<RegistryStep>>(answer).step, test.step);
        EXPECT_EQ(std::get<Failure<RegistryStep>>(answer).code, test.status);
    }
}

TEST_F(RegistryTest, AValueThatGrowsMeanwhileIsReadWhole)
{
    const std::wstring brief(1, L's');
    const std::wstring lengthy(300, L'l');
    set(L"Value", REG_SZ, brief.c_str(), 4);
    std::atomic<bool> done = false;
    std::thread writer(
        [&]
        {
            while (!done)
                for (const std::wstring& text : {brief, lengthy})
                    set(L"Value", REG_SZ, text.c_str(), 2 * text.size() + 2);
        });
    for (int round = 0; round < 2000; ++round)
    {
        const auto answer = read(kKey, L"Value");
        const auto* text = std::get_if<std::wstring>(&answer);
        EXPECT_TRUE(text && (*text == brief || *text == lengthy)) << "round " << round;
    }
    done = true;
    writer.join();
}
}
