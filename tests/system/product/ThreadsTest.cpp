#include "tests/system/product/Balance.h"
#include "tests/system/product/FakeWmi.h"
#include "tests/system/product/Product.h"

#include <gtest/gtest.h>

#include <barrier>
#include <mutex>
#include <thread>
#include <utility>
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
        // The thread is already in its own apartment, and stays there until it ends.
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

auto secondCallOf(const std::string& name)
{
    return [name, calls = 0](const std::string& call) mutable { return call == name && ++calls == 2; };
}

// The first connection is established when the second fails, and the thread goes on: here the one that loaded the library.
TEST_F(Threads, AFirstCollectionThatFailsHalfWayLeavesNothing)
{
    FakeWmi::failWhen(secondCallOf("SetBlanket"));
    EXPECT_EQ(product.collect(Product::cpus).status, EXPORT_STATUS_WMI_CONNECTION);
    EXPECT_EQ(counts.living, 0u);
}

// As a runtime's own worker that leaves its thread's apartment before the thread ends.
TEST_F(Threads, ReleaseNothingIntoAnApartmentThatIsClosed)
{
    const auto work = [&]
    {
        const Apartment apartment(COINIT_APARTMENTTHREADED);
        const FakeWmi own;
        collect(Product::cpus);
    };
    std::thread(work).join();
    EXPECT_EQ(counts.living, 2 * kConnections) << "a locator and a proxy each";
}

TEST_F(Threads, ACollectionOutOfTheCallbackMakesTheConnectionsForBoth)
{
    static const Product* nested = nullptr;
    product.setLogger(
        [](std::uint32_t, const char*)
        {
            if (const Product* const once = std::exchange(nested, nullptr))
                EXPECT_EQ(once->collect(Product::hotfixes).status, 0u);
        });
    const auto work = [&]
    {
        nested = &product;
        FakeWmi::failWhen(secondCallOf("ConnectServer"));
        collect(Product::cpus);
        EXPECT_EQ(nested, nullptr);
    };
    const auto inApartmentOfItsOwn = [&]
    {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        const FakeWmi own;
        work();
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE) << "the host's apartment is closed";
        CoUninitialize();
    };
    work(); // on the thread that loaded the library
    EXPECT_EQ(counts.connections, kConnections + 1);
    EXPECT_EQ(counts.living, 2 * kConnections);
    std::thread(inApartmentOfItsOwn).join();
    EXPECT_EQ(counts.living, 2 * kConnections) << "only the loading thread's";
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
    using Lock = LONG(NTAPI*)(ULONG flags, ULONG * result, ULONG_PTR * magic);
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
