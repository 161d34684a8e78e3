#include "tests/com/Service.h"
#include "tests/system/product/Product.h"

#include <cstdio>
#include <thread>

// Imports only what every program does: every other module in the process was loaded by the library.
//   host careless NAME...          loads the libraries as a program does that leaves the search to the system
//   host collect PRODUCT NAME...   loads the product as its header advises, and lets it collect
// Prints where those of the named libraries come from that are loaded in the end. Exits with the system's error if the product does
// not load.
namespace
{
int collect(const char* path)
{
    static const Product product(path);
    const auto status = [&](std::size_t kind)
    {
        ExportStatus result = 0;
        std::thread([&] { result = product.collect(kind).status; }).join();
        return result;
    };
    for (std::size_t kind = 0; kind < Product::kindCount; ++kind)
        if (status(kind) != EXPORT_STATUS_SUCCESS)
            return 1;
    fakes::serve(product.module);
    // Wine lacks an optional namespace, and this firmware has an odd date: warnings, which take no trace.
    if (status(Product::system) != EXPORT_STATUS_SUCCESS || GetModuleHandleA("dbghelp.dll"))
        return 2;
    fakes::service().answer = fakes::failing("CoCreateInstance");
    return status(Product::cpus) == EXPORT_STATUS_WMI_CONNECTION ? 0 : 3;
}
}

int main(int argc, char** argv)
try
{
    const bool careless = std::string_view(argv[1]) == "careless";
    if (const int failure = careless ? 0 : collect(argv[2]))
        return failure;
    for (int index = careless ? 2 : 3; index < argc; ++index)
    {
        char path[MAX_PATH];
        if (const HMODULE module = careless ? LoadLibraryA(argv[index]) : GetModuleHandleA(argv[index]))
            if (GetModuleFileNameA(module, path, MAX_PATH) != 0)
                std::puts(path);
    }
}
catch (const std::system_error& failure)
{
    return failure.code().value();
}
