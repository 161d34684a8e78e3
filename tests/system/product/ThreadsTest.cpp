#include "tests/system/product/Balance.h"
#include "tests/system/product/FakeWmi.h"
#include "tests/system/product/Product.h"

#include <gtest/gtest.h>

#include <barrier>
#include <mutex>
#include <thread>
#include <vector>

namespace
{
// A thread's first collection connects to two namespaces.
constexpr std::size_t kConnections = 2;

class Threads : public testing::Test
{
protected:
    void collect(std::size_t kind) const { EXPECT_EQ(product.collect(kind % Product::kindCount).status, 0u); }

    const FakeWmiHost host;
    const Product product;
    const FakeWmi::Counts& counts = FakeWmi::counts();
};
}

TEST_F(Threads, OneAfterAnotherTakeTheirConnectionsWithThem)
{
    const auto work = [&](std::size_t index)
    {
        if (index % 3 != 0)
            return collect(index);
        // A thread that is in an apartment of its own already, and stays there until it ends.
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        const FakeWmi own;
        collect(index);
    };
    Balance before{};
    for (std::size_t index = 0; index < 200; ++index)
    {
        std::thread(work, index).join();
        ASSERT_EQ(counts.connections, kConnections * (index + 1));
        ASSERT_EQ(counts.living, 0u) << "thread " << index;
        if (index == 48)
            before = Balance::take();
    }
    EXPECT_EQ(counts.underLoaderLock, 0u);
    EXPECT_EQ(Balance::take(), before);
}

TEST_F(Threads, AHundredAtOnceKeepTheirOwnConnections)
{
    constexpr std::size_t kThreads = 100;
    const auto together = [&]
    {
        std::barrier ready(kThreads);
        std::mutex calls; // the host's duty
        std::vector<std::jthread> threads;
        for (std::size_t index = 0; index < kThreads; ++index)
            threads.emplace_back(
                [&, index]
                {
                    ready.arrive_and_wait();
                    {
                        const std::lock_guard lock(calls);
                        collect(index);
                    }
                    ready.arrive_and_wait();
                });
    };
    together();
    together();
    const Balance before = Balance::take();
    together();
    EXPECT_EQ(Balance::take(), before);
    EXPECT_EQ(counts.connections, 3 * kThreads * kConnections);
    EXPECT_EQ(counts.living, 0u);
    EXPECT_EQ(counts.underLoaderLock, 0u);
}

TEST_F(Threads, TheLoaderLockIsNoticed)
{
    using Lock = LONG(NTAPI*)(ULONG flags, ULONG* result, ULONG_PTR* magic);
    using Unlock = LONG(NTAPI*)(ULONG flags, ULONG_PTR magic);
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    const auto lock = reinterpret_cast<Lock>(GetProcAddress(ntdll, "LdrLockLoaderLock"));
    const auto unlock = reinterpret_cast<Unlock>(GetProcAddress(ntdll, "LdrUnlockLoaderLock"));
    EXPECT_FALSE(holdsLoaderLock());
    ULONG_PTR magic = 0;
    ASSERT_EQ(lock(0, nullptr, &magic), 0);
    EXPECT_TRUE(holdsLoaderLock());
    unlock(0, magic);
    EXPECT_FALSE(holdsLoaderLock());
}
