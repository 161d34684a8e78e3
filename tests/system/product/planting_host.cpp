#include "tests/system/product/FakeWmi.h"
#include "tests/system/product/Product.h"

#include <cstdio>
#include <string>

// Loads the named libraries, with "careless" as a program does that gives their bare names, with "collect" by whatever the
// product's collections need, one of them that fails; then prints where those that are loaded come from.
//   planting-host careless|collect NAME...
int main(int argc, char** argv)
{
    if (std::string(argv[1]) == "careless")
        for (int index = 2; index < argc; ++index)
            LoadLibraryA(argv[index]);
    else
    {
        static const Product product;
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
    for (int index = 2; index < argc; ++index)
    {
        char path[MAX_PATH];
        if (const HMODULE module = GetModuleHandleA(argv[index]))
            if (GetModuleFileNameA(module, path, MAX_PATH) != 0)
                std::puts(path);
    }
}
