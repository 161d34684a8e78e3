#include "hw-inventory-impl/lib/GPU/GpuVendorRegistry.h"
#include "tests/com/Service.h"
#include "tests/system/product/Product.h"

#include <setupapi.h>

// A program in a process of its own:
//   careless NAME...          loads the libraries as a program does that leaves the search to the system
//   collect PRODUCT NAME...   loads the product as its header advises, and lets it collect
//   document PRODUCT          prints the GPU document, with the vendors' libraries loaded already
//   complete                  prints what the vendors' libraries report within this program
// Prints where those of the named libraries come from that are loaded in the end. Exits with the system's error if the product does
// not load.
namespace
{
using fakes::replaceImport;

int collectAll(const Product& product)
{
    fakes::serve(product.module);
    // A missing namespace, and the odd date of this firmware: warnings, which take no trace.
    fakes::service.answer = fakes::failing(L"ConnectServer ROOT\\StandardCIMV2");
    for (const char* kind : Product::kinds)
        if (product.collect(kind).front() != '{' || GetModuleHandleA("dbghelp.dll"))
            return 1;
    fakes::service.answer = fakes::failing(L"ExecQuery");
    return product.collect("cpus") == std::to_string(EXPORT_STATUS_WMI_QUERY) ? 0 : 2;
}

// Wine's SetupAPI places no device on its bus.
struct AnyDevice
{
    static BOOL WINAPI element(HDEVINFO, DWORD, SP_DEVINFO_DATA*) { return TRUE; }
    static BOOL WINAPI place(HDEVINFO, SP_DEVINFO_DATA*, DWORD property, DWORD*, BYTE* value, DWORD, DWORD*)
    {
        return *reinterpret_cast<DWORD*>(value) = property == SPDRP_BUSNUMBER ? 1 : 0, TRUE;
    }
};

void completeGpus(const Product* product)
{
    const HMODULE libraries[] = {LoadLibraryW(L".\\nvml.dll"), LoadLibraryW(L".\\atiadlxx.dll")};
    if (product)
    {
        replaceImport(product->module, "setupapi.dll", "SetupDiEnumDeviceInfo", &AnyDevice::element);
        replaceImport(product->module, "setupapi.dll", "SetupDiGetDeviceRegistryPropertyA", &AnyDevice::place);
        product->setLogger([](std::uint32_t, const char* line) { std::puts(line); });
        std::puts(product->collect("gpus").c_str());
    }
    else
    {
        std::vector<HardwareInventory::GpuInfo> gpus(2);
        gpus[0].pciAddress = L"0000:01:00.0";
        gpus[1].pciAddress = L"0000:03:00.0";
        completeFromVendorLibraries(gpus);
        for (const auto& gpu : gpus)
            std::printf("%ls: %.2f '%ls'\n", gpu.pciAddress.c_str(), gpu.temperature.value_or(0), gpu.serialNumber.c_str());
    }
    for (const HMODULE library : libraries)
        FreeLibrary(library);
}
}

int main(int argc, char** argv)
{
    const std::string_view task = argv[1];
    const Product* const product = task == "collect" || task == "document" ? new Product(argv[2]) : nullptr;
    if (product && !product->module)
        return static_cast<int>(product->loadError);
    if (task == "document" || task == "complete")
        return completeGpus(product), 0;
    if (const int failure = product ? collectAll(*product) : 0)
        return failure;
    for (int index = product ? 3 : 2; index < argc; ++index)
    {
        char path[MAX_PATH];
        if (const HMODULE module = product ? GetModuleHandleA(argv[index]) : LoadLibraryA(argv[index]))
            if (GetModuleFileNameA(module, path, MAX_PATH) != 0)
                std::puts(path);
    }
}
