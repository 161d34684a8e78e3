#include "hw-inventory-impl/lib/GPU/GpuVendorRegistry.h"
#include "hw_inventory_interface.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Utf8.h"

#include <windows.h>

#include <setupapi.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

// A host in which the vendor libraries are loaded already:
//   gpu-host document PRODUCT      the GPU document of the built product, which finds every adapter at 0000:01:00.0
//   gpu-host complete ADDRESS...   what the libraries report of the adapters at these addresses
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

// Wine's SetupAPI places no device on its bus.
BOOL WINAPI anyDevice(HDEVINFO, DWORD, SP_DEVINFO_DATA*)
{
    return TRUE;
}

BOOL WINAPI placeOfAnyDevice(HDEVINFO, SP_DEVINFO_DATA*, DWORD property, DWORD*, BYTE* value, DWORD, DWORD*)
{
    const DWORD number = property == SPDRP_BUSNUMBER ? 1 : 0;
    std::memcpy(value, &number, sizeof number);
    return TRUE;
}

// Lets the module call the replacement for a function of SetupAPI that it imports.
template <class Function>
void replaceImport(HMODULE module, const char* name, Function* replacement)
{
    auto* const image = reinterpret_cast<std::uint8_t*>(module);
    const auto* const headers = reinterpret_cast<IMAGE_NT_HEADERS*>(image + reinterpret_cast<IMAGE_DOS_HEADER*>(image)->e_lfanew);
    const IMAGE_DATA_DIRECTORY& place = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IAT];
    auto* const imports = reinterpret_cast<Function**>(image + place.VirtualAddress);
    Function** const import =
        std::find(imports, imports + place.Size / sizeof *imports, exported<Function>(GetModuleHandleW(L"setupapi.dll"), name));
    DWORD protection = 0;
    VirtualProtect(import, sizeof *import, PAGE_READWRITE, &protection);
    *import = replacement;
}

int document(const char* productPath)
{
    const HMODULE product = LoadLibraryExW(std::filesystem::absolute(productPath).c_str(), nullptr,
                                           LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (!product)
        return 64;
    replaceImport(product, "SetupDiEnumDeviceInfo", anyDevice);
    replaceImport(product, "SetupDiGetDeviceRegistryPropertyA", placeOfAnyDevice);
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
    const HMODULE libraries[] = {LoadLibraryW(L".\\nvml.dll"), LoadLibraryW(L".\\atiadlxx.dll")};
    const int status = std::strcmp(arguments[1], "document") == 0 ? document(arguments[2]) : complete(arguments + 2);
    for (const HMODULE library : libraries)
        FreeLibrary(library);
    return status;
}
