#include "tests/system/gpu/VendorMachine.h"

#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

// Makes a fake vendor library of the fake functions. The file named by HW_INVENTORY_VENDOR_RECORDING says how the library
// behaves; into the one named by HW_INVENTORY_VENDOR_TRACE goes a line for every call and for the end of the library.
namespace
{
void trace(const std::string& line)
{
    std::ofstream(std::getenv("HW_INVENTORY_VENDOR_TRACE"), std::ios::app) << line << '\n';
}

std::string nameOf(HMODULE module)
{
    char path[MAX_PATH];
    GetModuleFileNameA(module, path, MAX_PATH);
    return std::filesystem::path(path).filename().string();
}
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* processEnds)
{
    if (reason == DLL_PROCESS_ATTACH)
    {
        std::ifstream recording(std::getenv("HW_INVENTORY_VENDOR_RECORDING"));
        fakes::readRecording(recording);
        fakes::vendorMachine().onCall = trace;
    }
    if (reason == DLL_PROCESS_DETACH && !processEnds)
        trace(nameOf(module) + " unloaded");
    return TRUE;
}
