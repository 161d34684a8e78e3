#include "tests/system/product/FakeWmi.h"
#include "tests/system/product/Product.h"

#include <cstdio>
#include <thread>

namespace
{
int failures = 0;

void expect(bool holds, const char* what)
{
    if (holds)
        return;
    std::puts(what);
    ++failures;
}
}

// Collections that succeed with warnings: Wine lacks an optional namespace, and another service's firmware has an odd date. Imports
// nothing that loads dbghelp.
int main()
{
    const Product product;
    const auto collect = [&](std::size_t kind)
    { expect(product.collect(kind).status == EXPORT_STATUS_SUCCESS, Product::kinds[kind].function); };
    for (std::size_t kind = 0; kind < Product::kindCount; ++kind)
        collect(kind);
    std::thread(
        [&]
        {
            const FakeWmiHost host;
            collect(Product::system);
        })
        .join();
    expect(!GetModuleHandleA("dbghelp.dll"), "a warning took a stack trace");
    return failures;
}
