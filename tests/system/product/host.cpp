#include "tests/com/Service.h"
#include "tests/system/product/Product.h"

#include <setupapi.h>

// A program in a process of its own, which prints where the named libraries come from that are loaded in the end:
//   careless NAME...          loads them as a program does that leaves the search to the system
//   collect PRODUCT NAME...   loads the product as its header advises, and lets it collect; exits with the system's error otherwise
//   document PRODUCT          prints the GPU document, with the vendors' libraries loaded already
namespace
{
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

void printGpus(const Product& product)
{
    const HMODULE library = LoadLibraryW(L".\\nvml.dll");
    fakes::replaceImport(product.module, "setupapi.dll", "SetupDiEnumDeviceInfo", &AnyDevice::element);
    fakes::replaceImport(product.module, "setupapi.dll", "SetupDiGetDeviceRegistryPropertyA", &AnyDevice::place);
    product.setLogger([](std::uint32_t, const char* line) { std::puts(line); });
    std::puts(product.collect("gpus").c_str());
    FreeLibrary(library);
}
}

int main(int argc, char** argv)
{
    const bool careless = argv[1] == std::string_view("careless");
    const Product* const product = careless ? nullptr : new Product(argv[2]);
    if (product && !product->module)
        return static_cast<int>(product->loadError);
    if (argv[1] == std::string_view("document"))
        return printGpus(*product), 0;
    if (const int failure = product ? collectAll(*product) : 0)
        return failure;
    char path[MAX_PATH];
    for (int index = product ? 3 : 2; index < argc; ++index)
        if (const HMODULE module = product ? GetModuleHandleA(argv[index]) : LoadLibraryA(argv[index]))
            if (GetModuleFileNameA(module, path, MAX_PATH) != 0)
                std::puts(path);
}
