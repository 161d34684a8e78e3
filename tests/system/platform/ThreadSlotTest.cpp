#include "hw-inventory-impl/lib/Platform/Platform.h"

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
    int values[2] = {};
    ASSERT_TRUE(keepForThread(&values[0], destroy));
    std::uint32_t threadId = 0;
    std::thread(
        [&]
        {
            EXPECT_EQ(threadValue(), nullptr);
            ASSERT_TRUE(keepForThread(&values[1], destroy));
            EXPECT_EQ(threadValue(), &values[1]);
            EXPECT_TRUE(destroyed.empty());
            threadId = GetCurrentThreadId();
        })
        .join();
    EXPECT_EQ(destroyed, (std::vector<std::pair<void*, std::uint32_t>>{{&values[1], threadId}}));
    EXPECT_EQ(threadValue(), &values[0]);
}

TEST(ThreadSlot, AFiberTakesTheValueAlongOnItsOwnThreadAlone)
{
    static int value = 0;
    const auto keep = [](void* caller)
    {
        EXPECT_TRUE(keepForThread(&value, destroy));
        SwitchToFiber(caller);
    };
    const auto keepOnFiber = [&](bool deletedElsewhere)
    {
        destroyed.clear();
        void* const fiber = CreateFiber(0, keep, ConvertThreadToFiber(nullptr));
        SwitchToFiber(fiber);
        if (deletedElsewhere)
            std::thread(DeleteFiber, fiber).join();
        else
            DeleteFiber(fiber);
        EXPECT_EQ(threadValue(), deletedElsewhere ? &value : nullptr);
        EXPECT_EQ(destroyed.size(), deletedElsewhere ? 0u : 1u);
    };
    std::thread(keepOnFiber, true).join();
    std::thread(keepOnFiber, false).join();
}
}
