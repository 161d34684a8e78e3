#include "bench/wine/BareClient.h"
#include "tests/system/product/Balance.h"
#include "tests/system/product/Product.h"

#include <gtest/gtest.h>

// The system's own WMI keeps some blocks of each query. The same number is left after a client that only runs the queries.
TEST(ServiceBalance, ACollectionLeavesNoMoreThanTheSystemsServiceDoes)
{
    const Product product;
    BareClient client;
    using Ask = std::size_t (BareClient::*)();
    const Ask asks[Product::kindCount] = {
        &BareClient::cpus,       &BareClient::gpus,   &BareClient::ram,     &BareClient::disks, &BareClient::networkAdapters,
        &BareClient::baseBoards, &BareClient::system, &BareClient::hotfixes};
    const auto growth = [](auto action)
    {
        action();
        action();
        const Balance before = Balance::take();
        for (int round = 0; round < 5; ++round)
            action();
        return Balance::take().since(before);
    };
    for (std::size_t kind = 0; kind < Product::kindCount; ++kind)
        EXPECT_EQ(growth([&] { product.collect(kind); }), growth([&] { (client.*asks[kind])(); })) << Product::kinds[kind].function;
}
