#include "hw-inventory-impl/lib/GPU/GpuVendorRegistry.h"
#include "hw_inventory_interface.h"
#include "st-core/lib/HostLogger.h"

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

// A host in which vendor libraries are loaded already:
//   gpu-host LIBRARY... document PRODUCT      the GPU document of the built product
//   gpu-host LIBRARY... complete ADDRESS...   what the libraries know of the adapters at these addresses
// Log lines and results go to standard output. The host's own hold on the vendor libraries ends before the program does.
namespace
{
using namespace HardwareInventory;

void print(std::uint32_t level, const char* message)
{
    std::printf("%u %s\n", level, message);
}

template <class Function>
Function* exported(HMODULE product, const char* name)
{
    return reinterpret_cast<Function*>(GetProcAddress(product, name));
}

int document(const char* productPath)
{
    const HMODULE product =
        LoadLibraryExA(std::filesystem::absolute(productPath).string().c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!product)
        return 64;
    exported<decltype(hardware_inventory_set_logger)>(product, "hardware_inventory_set_logger")(print);
    char* text = nullptr;
    std::size_t size = 0;
    const auto status = exported<decltype(hardware_inventory_find_gpus)>(product, "hardware_inventory_find_gpus")(&text, &size);
    if (status == EXPORT_STATUS_SUCCESS)
        std::printf("%s\n", text);
    exported<decltype(release_buffer)>(product, "release_buffer")(text);
    return static_cast<int>(status);
}

int complete(char** addresses)
{
    ZelStdCore::HostLogger::instance().set(print);
    std::vector<GpuInfo> gpus;
    for (; *addresses; ++addresses)
        gpus.emplace_back().pciAddress = ZelStdCore::widen(*addresses);
    completeFromVendorLibraries(gpus);
    for (const GpuInfo& gpu : gpus)
    {
        std::printf("%s: %s, '%s'\n", ZelStdCore::toUtf8(gpu.pciAddress).c_str(),
                    gpu.temperature ? std::to_string(*gpu.temperature).c_str() : "absent",
                    ZelStdCore::toUtf8(gpu.serialNumber).c_str());
    }
    return 0;
}
}

int main(int, char** arguments)
{
    std::vector<HMODULE> libraries;
    for (++arguments; *arguments; ++arguments)
    {
        const bool isDocument = std::strcmp(*arguments, "document") == 0;
        if (isDocument || std::strcmp(*arguments, "complete") == 0)
        {
            const int status = isDocument ? document(arguments[1]) : complete(arguments + 1);
            for (const HMODULE library : libraries)
                FreeLibrary(library);
            return status;
        }
        libraries.push_back(LoadLibraryA(std::filesystem::absolute(*arguments).string().c_str()));
        if (!libraries.back())
            return 65;
    }
    return 66;
}
