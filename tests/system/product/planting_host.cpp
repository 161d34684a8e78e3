#include "tests/system/product/FakeWmi.h"
#include "tests/system/product/Product.h"

#include <cstdio>
#include <string>
#include <system_error>

// Loads the product and the named libraries, with "careless" as a program does that leaves the search to the system, with "collect"
// as the product's header advises and by whatever its collections need, one of them that fails; then prints where those that are
// loaded come from. Exits with the system's error if the product does not load.
//   planting-host careless|collect PRODUCT NAME...
int main(int argc, char** argv)
try
{
    if (std::string(argv[1]) == "careless")
        for (int index = 2; index < argc; ++index)
            LoadLibraryA(argv[index]);
    else
    {
        static const Product product(argv[2]);
        {
            const FakeWmiHost host;
            FakeWmi::failWhen([](const std::string&) { return true; });
            if (product.collect(Product::cpus).status != EXPORT_STATUS_WMI_CONNECTION)
                return 1;
        }
        for (std::size_t kind = 0; kind < Product::kindCount; ++kind)
            if (product.collect(kind).status != EXPORT_STATUS_SUCCESS)
                return 1;
    }
    for (int index = 3; index < argc; ++index)
    {
        char path[MAX_PATH];
        if (const HMODULE module = GetModuleHandleA(argv[index]))
            if (GetModuleFileNameA(module, path, MAX_PATH) != 0)
                std::puts(path);
    }
}
catch (const std::system_error& failure)
{
    return failure.code().value();
}
