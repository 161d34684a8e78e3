#include <windows.h>

#include <cstdio>
#include <cstring>

// Nvidia's management library with an adapter, of which it reports the temperature. Prints what ends it.
#define EXPORTED(name, parameters, ...) \
    extern "C" __declspec(dllexport) INT_PTR name parameters \
    { \
        return __VA_ARGS__; \
    }

EXPORTED(nvmlInit, (), std::setvbuf(stdout, nullptr, _IONBF, 0))
EXPORTED(nvmlShutdown, (), std::puts("nvmlShutdown") < 0)
EXPORTED(nvmlDeviceGetCount, (unsigned* count), *count = 1, 0)
EXPORTED(nvmlDeviceGetHandleByIndex, (unsigned, void** device), *device = device, 0)
EXPORTED(nvmlDeviceGetPciInfo_v3, (void*, char* address), std::strcpy(address, "0000:01:00.0"), 0)
EXPORTED(nvmlDeviceGetTemperature, (void*, int, unsigned* celsius), *celsius = 45, 0)
EXPORTED(nvmlDeviceGetSerial, (void*, char* serial), std::strcpy(serial, "0320718000001"), 0)
EXPORTED(nvmlDeviceGetUtilizationRates, (), 3)
EXPORTED(nvmlDeviceGetMemoryInfo, (), 3)
EXPORTED(nvmlDeviceGetPowerUsage, (), 3)
EXPORTED(nvmlErrorString, (), reinterpret_cast<INT_PTR>("not supported"))
