#include "tests/system/product/Balance.h"
#include "tests/system/product/BareSymbolSession.h"
#include "tests/system/product/FakeWmi.h"
#include "tests/system/product/Product.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

namespace
{
// What Wine's dbghelp keeps of each session. The number of bytes depends on the last file name that it searched for.
Balance leftBySymbolSession(HMODULE module)
{
    std::thread(traceWithBareSession, module).join();
    const Balance before = Balance::take();
    std::thread(traceWithBareSession, module).join();
    return Balance::take().since(before);
}
}

// Ten thousand collections on ever new threads, while one in a hundred of the calls into WMI fails.
TEST(Soak, AThousandFaultsLeaveNothing)
{
    const FakeWmiHost host;
    const Product product;
    const Balance session = leftBySymbolSession(product.module());

    std::mt19937 random(20260101);
    std::size_t faults = 0;
    const auto oneInAHundred = [&](const std::string&)
    {
        if (random() % 100 != 0)
            return false;
        ++faults;
        return true;
    };
    std::size_t failures = 0;
    std::size_t traces = 0;
    const auto collectOnce = [&](std::size_t kind)
    {
        const ExportStatus status = product.collect(kind).status;
        if (status != EXPORT_STATUS_SUCCESS)
        {
            ++failures;
            const char* const trace = product.getException()->stackTrace;
            traces += trace && *trace;
        }
        return status;
    };
    const auto failAlike = [&]
    {
        FakeWmi::failWhen([](const std::string& call) { return call == "ExecQuery"; });
        std::thread([&] { EXPECT_EQ(collectOnce(Product::cpus), EXPORT_STATUS_WMI_QUERY); }).join();
    };
    const auto collect = [&](std::size_t collections)
    {
        FakeWmi::failWhen(oneInAHundred);
        constexpr std::size_t kEachThread = 50;
        for (std::size_t done = 0; done < collections; done += kEachThread)
            std::thread(
                [&]
                {
                    for (std::size_t kind = 0; kind < kEachThread; ++kind)
                        collectOnce(kind % Product::kindCount);
                })
                .join();
        // The record of the last failure is a part of the balance.
        failAlike();
    };

    collect(1000);
    const Balance before = Balance::take();
    const std::size_t tracesBefore = traces;
    collect(9000);
    const std::size_t sessions = traces - tracesBefore;
    const Balance after = Balance::take();
    EXPECT_EQ(after, (Balance{before.heapBlocks + sessions * session.heapBlocks, after.heapBytes, before.handles, before.modules}));
    EXPECT_GT(faults, 1000u);
    EXPECT_GT(failures, 100u);
    std::cout << faults << " faults, " << traces << " traces, " << failures << " failed collections\n";
}
