#include "hw-inventory-impl/lib/GPU/Adl.h"

#include <windows.h>

#include <cstdio>
#include <cstring>

// Two vendors' management libraries with an adapter each, of which they report the temperature. Prints what ends them.
#define EXPORTED(name, parameters, ...) \
    extern "C" __declspec(dllexport) int name parameters \
    { \
        return __VA_ARGS__; \
    }

EXPORTED(nvmlInit, (), 0)
EXPORTED(nvmlShutdown, (), std::puts("nvmlShutdown") < 0)
EXPORTED(nvmlDeviceGetCount, (unsigned* count), *count = 1, 0)
EXPORTED(nvmlDeviceGetHandleByIndex, (unsigned, void** device), *device = device, 0)
EXPORTED(nvmlDeviceGetPciInfo_v3, (void*, char* address), std::strcpy(address, "0000:01:00.0"), 0)
EXPORTED(nvmlDeviceGetTemperature, (void*, int, unsigned* celsius), *celsius = 45, 0)
EXPORTED(nvmlDeviceGetSerial, (void*, char* serial), std::strcpy(serial, "0320718000001"), 0)
EXPORTED(nvmlDeviceGetUtilizationRates, (), 3)
EXPORTED(nvmlDeviceGetMemoryInfo, (), 3)
EXPORTED(nvmlDeviceGetPowerUsage, (), 3)
extern "C" __declspec(dllexport) const char* nvmlErrorString()
{
    return "not supported";
}

EXPORTED(ADL_Main_Control_Create, (), 0)
EXPORTED(ADL2_Main_Control_Create, (), 0)
EXPORTED(ADL_Main_Control_Destroy, (), std::puts("ADL_Main_Control_Destroy") < 0)
EXPORTED(ADL2_Main_Control_Destroy, (), std::puts("ADL2_Main_Control_Destroy") < 0)
EXPORTED(ADL_Adapter_NumberOfAdapters_Get, (int* count), *count = 1, 0)
EXPORTED(ADL_Adapter_AdapterInfo_Get, (HardwareInventory::Adl::AdapterInfo * adapter), adapter->iBusNumber = 3,
         adapter->iVendorID = HardwareInventory::Adl::kAMDVendor, 0)
EXPORTED(ADL_Adapter_Active_Get, (int, int* active), *active = 1, 0)
EXPORTED(ADL_Overdrive_Caps, (int, int*, int*, int* version), *version = 5, 0)
EXPORTED(ADL_Overdrive5_Temperature_Get, (int, int, int* temperature), temperature[1] = 52750, 0)
EXPORTED(ADL_Overdrive5_CurrentActivity_Get, (), -8)
EXPORTED(ADL2_New_QueryPMLogData_Get, (), -8)
EXPORTED(ADL2_Overdrive6_CurrentPower_Get, (), -8)
EXPORTED(ADL2_OverdriveN_Temperature_Get, (), -8)

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*)
{
    char path[MAX_PATH];
    GetModuleFileNameA(module, path, MAX_PATH);
    if (reason == DLL_PROCESS_ATTACH)
        std::setvbuf(stdout, nullptr, _IONBF, 0);
    if (reason == DLL_PROCESS_DETACH)
        std::printf("%s ends\n", std::strrchr(path, '\\') + 1);
    return TRUE;
}
