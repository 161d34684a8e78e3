#include "tests/system/product/Balance.h"
#include "tests/system/product/FakeWmi.h"
#include "tests/system/product/Imports.h"
#include "tests/system/product/Product.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <functional>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace
{
void collectAll(const Product& product)
{
    for (std::size_t kind = 0; kind < Product::kindCount; ++kind)
    {
        const Product::Answer answer = product.collect(kind);
        EXPECT_EQ(answer.status, EXPORT_STATUS_SUCCESS) << Product::kinds[kind].function;
        EXPECT_TRUE(answer.document.starts_with(std::string("{\"") + Product::kinds[kind].key)) << answer.document;
    }
}

std::jmp_buf beforeTheCall;
int linesToCome;

// Whether the collection logged a line of that number, from which the callback does not return.
bool isLeftAtLine(int line, const Product& product, std::size_t kind)
{
    linesToCome = line;
    if (setjmp(beforeTheCall) != 0)
        return true;
    EXPECT_EQ(product.collect(kind).status, EXPORT_STATUS_SUCCESS) << Product::kinds[kind].function;
    return false;
}

// The number of TLS indexes that the process has left.
std::size_t freeTlsIndexes()
{
    std::vector<DWORD> taken;
    for (DWORD index = TlsAlloc(); index != TLS_OUT_OF_INDEXES; index = TlsAlloc())
        taken.push_back(index);
    std::ranges::for_each(taken, TlsFree);
    return taken.size();
}
}

TEST(Lifetime, LoadingAndFreeingLosesNothing)
{
    const FakeWmiHost host;
    FakeWmi::failWhen([](const std::string& call) { return call == "CreateInstance"; });
    const ExceptionRecord* kept = nullptr;
    const auto fail = [&kept](const Product& product)
    {
        takeDbgHelpFrom(product.module());
        EXPECT_EQ(product.collect(Product::cpus).status, EXPORT_STATUS_WMI_CONNECTION);
        kept = product.getException();
    };
    const std::pair<const char*, std::function<void()>> actions[] = {
        {"the VM detection alone", [] { FreeLibrary(LoadLibraryW((programFolder() / "vm_detect.dll").c_str())); }},
        {"the library", [] { const Product product; }},
        {"a collection that fails", [&] { fail(Product()); }},
    };
    for (const auto& [what, round] : actions)
    {
        round();
        const std::size_t indexes = freeTlsIndexes();
        const Balance before = Balance::take();
        for (int count = 0; count < 1200; ++count)
            round();
        const Balance growth = Balance::take().since(before);
        std::cout << what << ": " << growth << "\n";
        EXPECT_EQ(growth, Balance{}) << what;
        EXPECT_EQ(freeTlsIndexes(), indexes) << what;
    }
    EXPECT_STREQ(kept->errorText, "failed to create WMI locator") << "a host may keep the record";
}

TEST(Lifetime, LoadingCollectingAndFreeingInALoopLeavesNothing)
{
    const FakeWmiHost host;
    const auto round = [] { collectAll(Product()); };
    round();
    const Balance before = Balance::take();
    for (int count = 0; count < 50; ++count)
        round();
    EXPECT_EQ(Balance::take(), before);
    EXPECT_NE(GetModuleHandleW(L"hw_inventory_interface.dll"), nullptr);
}

TEST(Lifetime, AHostInASingleThreadedApartmentIsServedAndKeepsIt)
{
    const Apartment apartment(COINIT_APARTMENTTHREADED);
    collectAll(Product());
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE);
    CoUninitialize();
}

TEST(Lifetime, AHostThatChoseItsSecurityIsServed)
{
    const Apartment apartment(COINIT_MULTITHREADED);
    ASSERT_EQ(CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_PKT_PRIVACY, RPC_C_IMP_LEVEL_IDENTIFY, nullptr,
                                   EOAC_NONE, nullptr),
              S_OK);
    collectAll(Product());
}

TEST(Lifetime, TheCallbackCanBeSwappedAndRemovedBetweenCalls)
{
    const FakeWmiHost host;
    const Product product;
    static int first = 0;
    static int second = 0;
    const auto linesAfter = [&](HardwareInventoryLogger logger)
    {
        first = second = 0;
        product.setLogger(logger);
        product.collect(Product::system);
        return std::pair(first > 0, second > 0);
    };
    EXPECT_EQ(linesAfter([](std::uint32_t, const char*) { ++first; }), std::pair(true, false));
    EXPECT_EQ(linesAfter(nullptr), std::pair(false, false));
    EXPECT_EQ(linesAfter([](std::uint32_t, const char*) { ++second; }), std::pair(false, true));
}

// Even for a line that is logged while the first call for disks builds the vendor registry, once in a process.
TEST(Lifetime, TheCallbackCanCollectEveryKind)
{
    const FakeWmiHost host;
    static const Product product;
    static bool nested = false;
    product.setLogger(
        [](std::uint32_t, const char* line)
        {
            if (std::strstr(line, "has already been registered") && !std::exchange(nested, true))
                collectAll(product);
        });
    collectAll(product);
    EXPECT_TRUE(nested);
}

TEST(Lifetime, TheCallbackCanLeaveByALongJump)
{
    const FakeWmiHost host;
    const OwnFolder folder;
    folder.add("physical/vm_detect.dll", "vm_detect.dll"); // the memory is the firmware's
    const Product product(folder.add("hw_inventory_interface.dll"));
    product.setLogger(
        [](std::uint32_t, const char*)
        {
            if (linesToCome-- == 0)
                std::longjmp(beforeTheCall, 1);
        });
    for (std::size_t kind = 0; kind < Product::kindCount; ++kind)
        for (int line = 0; isLeftAtLine(line, product, kind); ++line)
            ;
}
