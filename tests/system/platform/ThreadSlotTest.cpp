#include "hw-inventory-impl/lib/Platform.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace
{
using namespace HardwareInventory::Platform;

std::vector<std::pair<void*, std::uint32_t>> destroyed; // the values, and the threads that destroyed them

void destroy(void* value)
{
    destroyed.emplace_back(value, currentThreadId());
}

TEST(ThreadSlot, EachThreadDestroysItsOwnValue)
{
    int values[3] = {};
    EXPECT_EQ(threadValue(), nullptr);
    ASSERT_TRUE(keepForThread(&values[0], destroy));

    std::vector<std::pair<void*, std::uint32_t>> expected;
    for (int index : {1, 2})
        std::thread(
            [&]
            {
                EXPECT_EQ(threadValue(), nullptr);
                ASSERT_TRUE(keepForThread(&values[index], destroy));
                EXPECT_EQ(threadValue(), &values[index]);
                EXPECT_EQ(destroyed, expected);
                expected.emplace_back(&values[index], GetCurrentThreadId());
            })
            .join();
    std::thread([] { EXPECT_EQ(threadValue(), nullptr); }).join();

    EXPECT_EQ(destroyed, expected);
    EXPECT_EQ(threadValue(), &values[0]);
}

// Under the loader lock nobody else could load a library meanwhile.
TEST(ThreadSlot, TheLoaderIsFreeWhileAValueIsDestroyed)
{
    static const HANDLE asked = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    static const HANDLE loaded = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    static DWORD answer = WAIT_FAILED;
    std::thread other(
        []
        {
            WaitForSingleObject(asked, INFINITE);
            FreeLibrary(LoadLibraryW(L"version.dll"));
            SetEvent(loaded);
        });
    const auto askForTheLoader = [](void*) { answer = SignalObjectAndWait(asked, loaded, 20000, FALSE); };
    std::thread([&] { keepForThread(&answer, askForTheLoader); }).join();
    other.join();
    EXPECT_EQ(answer, WAIT_OBJECT_0);
}
}
