#include "tests/system/product/Balance.h"
#include "tests/system/product/FakeWmi.h"
#include "tests/system/product/Product.h"

#include <gtest/gtest.h>

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

std::vector<std::string>* received = nullptr;

void receive(std::uint32_t level, const char* message)
{
    received->push_back(std::to_string(level) + " " + message);
}
}

TEST(Lifetime, ALibraryThatCollectedNothingIsUnloaded)
{
    for (int round = 0; round < 10; ++round)
    {
        const Product product;
        EXPECT_EQ(product.getException()->message, nullptr);
    }
    EXPECT_EQ(GetModuleHandleW(L"hw_inventory_interface.dll"), nullptr);
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
    ASSERT_EQ(CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_PKT_PRIVACY, RPC_C_IMP_LEVEL_IDENTIFY,
                                   nullptr, EOAC_NONE, nullptr),
              S_OK);
    collectAll(Product());
}

TEST(Lifetime, TheCallbackCanBeSwappedAndRemovedBetweenCalls)
{
    const FakeWmiHost host;
    constexpr std::size_t kSystem = 6;
    const Product product;
    std::vector<std::string> first;
    std::vector<std::string> second;
    received = &first;
    product.setLogger(receive);
    product.collect(kSystem);
    product.setLogger(nullptr);
    product.collect(kSystem);
    product.setLogger([](std::uint32_t level, const char* message)
                      { (*received)[0] += std::to_string(level) + message; });
    received = &second;
    second.emplace_back();
    product.collect(kSystem);
    EXPECT_FALSE(first.empty());
    ASSERT_EQ(second.size(), 1u);
    EXPECT_FALSE(second[0].empty());
}
