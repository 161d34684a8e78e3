#include "tests/system/gpu/VendorMachine.h"

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <sstream>

// Makes a fake vendor library of the fake functions. The file named by HW_INVENTORY_VENDOR_RECORDING says how the library
// behaves; into the one named by HW_INVENTORY_VENDOR_TRACE, if any, goes a line for every call and for the end of the library.
namespace
{
std::string setting(const char* name)
{
    char value[MAX_PATH];
    const DWORD length = GetEnvironmentVariableA(name, value, MAX_PATH);
    return length < MAX_PATH ? std::string(value, length) : std::string();
}

void trace(const std::string& line)
{
    std::ofstream(setting("HW_INVENTORY_VENDOR_TRACE"), std::ios::app) << line << '\n';
}

// Takes a function out of the loaded module's export table, so that looking it up finds nothing.
void hideExport(HMODULE module, const std::string& name)
{
    auto* const base = reinterpret_cast<BYTE*>(module);
    const auto* const headers =
        reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const auto* const exports = reinterpret_cast<IMAGE_EXPORT_DIRECTORY*>(
        base + headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    const auto* const names = reinterpret_cast<DWORD*>(base + exports->AddressOfNames);
    const auto* const ordinals = reinterpret_cast<WORD*>(base + exports->AddressOfNameOrdinals);
    auto* const functions = reinterpret_cast<DWORD*>(base + exports->AddressOfFunctions);
    for (DWORD i = 0; i < exports->NumberOfNames; ++i)
    {
        if (name != reinterpret_cast<char*>(base + names[i]))
            continue;
        DWORD earlier = 0;
        VirtualProtect(&functions[ordinals[i]], sizeof(DWORD), PAGE_READWRITE, &earlier);
        functions[ordinals[i]] = 0;
        VirtualProtect(&functions[ordinals[i]], sizeof(DWORD), earlier, &earlier);
    }
}

bool start(HMODULE module)
{
    std::ifstream file(setting("HW_INVENTORY_VENDOR_RECORDING"), std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    try
    {
        fakes::readRecording(text.str());
    }
    catch (const std::exception&)
    {
        return false;
    }
    fakes::vendorMachine().onCall = trace;
    for (const fakes::VendorLibrary* library : {&fakes::vendorMachine().nvml, &fakes::vendorMachine().adl})
    {
        std::istringstream missing(library->library.text("missing"));
        for (std::string name; missing >> name;)
            hideExport(module, name);
    }
    return true;
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
        return start(module);
    if (reason == DLL_PROCESS_DETACH && !processEnds)
        trace(nameOf(module) + " unloaded");
    return TRUE;
}
