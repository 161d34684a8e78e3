#include "hw-inventory-impl/lib/GPU/GPUException.h"
#include "hw-inventory-impl/lib/GPU/NvidiaGroup.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"

#include <dlfcn.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

// Reads every Nvidia device of this machine through the real driver and prints what the library reads beside what nvidia-smi
// reports. What cannot change between the two readings must agree; the rest is for the eye.
//   0: all agree    1: a difference    77: no Nvidia driver here, nothing was checked
namespace
{
using namespace HardwareInventory;

constexpr int kSkipped = 77;

// What nvidia-smi reports of a device, one text per field.
std::string reported(std::uint32_t index, const std::string& field)
{
    const std::string command = "nvidia-smi --format=csv,noheader,nounits --id=" + std::to_string(index) + " --query-gpu=" + field;
    char text[1024] = {};
    if (FILE* const pipe = popen(command.c_str(), "r"))
    {
        if (!std::fgets(text, sizeof(text), pipe))
            text[0] = '\0';
        pclose(pipe);
    }
    return std::string(text).substr(0, std::string_view(text).find('\n'));
}

bool isUnknown(const std::string& value)
{
    return value.empty() || value.front() == '[' || value == "N/A";
}

// nvidia-smi's eight digits of the domain are four in the address used here.
bool sameAddress(const std::string& ours, const std::string& theirs)
{
    return theirs.size() > 4 && ours == theirs.substr(4);
}

bool sameSerial(const std::string& ours, const std::string& theirs)
{
    return ours == theirs || (ours.empty() && isUnknown(theirs));
}

bool sameMebibytes(const std::string& ours, const std::string& theirs)
{
    return !isUnknown(theirs) && std::abs(std::stof(ours) - std::stof(theirs)) <= 1;
}

bool check(const NvidiaGPU& gpu)
{
    const NvidiaReadings& ours = gpu.readings();
    const struct
    {
        const char* field;
        std::string ours;
        bool (*same)(const std::string& ours, const std::string& theirs) = nullptr; // none: it changes from moment to moment
    } readings[] = {
        {"pci.bus_id", ours.pciBusId, sameAddress},
        {"serial", ours.serial, sameSerial},
        {"memory.total", std::to_string(ours.memoryTotalKiB / 1024), sameMebibytes},
        {"temperature.gpu", ours.temperature ? std::to_string(*ours.temperature) : "absent"},
        {"memory.used", std::to_string(ours.memoryUsedKiB / 1024)}, // what the driver reserves is counted differently
        {"memory.free", std::to_string(ours.memoryFreeKiB / 1024)},
        {"utilization.gpu", std::to_string(ours.gpuUtilization)},
        {"utilization.memory", std::to_string(ours.memoryUtilization)},
        {"power.draw", std::to_string(ours.powerWatts)},
    };
    bool allAgree = true;
    std::printf("device %u %32s %24s\n", gpu.index(), "read here", "nvidia-smi");
    for (const auto& [field, value, same] : readings)
    {
        const std::string theirs = reported(gpu.index(), field);
        const bool agrees = !same || same(value, theirs);
        std::printf("  %-20s %24s %24s  %s\n", field, value.c_str(), theirs.c_str(), !same ? "" : agrees ? "agrees" : "DIFFERS");
        allAgree = allAgree && agrees;
    }
    return allAgree;
}
}

// The platform's answers about modules, by the name that the library has here.
namespace HardwareInventory::Platform
{
ModuleHandle loadModule(const wchar_t* name)
{
    return std::wstring_view(name) == L"nvml.dll" ? dlopen("libnvidia-ml.so.1", RTLD_NOW | RTLD_LOCAL) : nullptr;
}

void* findProcedure(ModuleHandle module, const char* name)
{
    return module ? dlsym(module, name) : nullptr;
}

void freeModule(ModuleHandle module)
{
    if (module)
        dlclose(module);
}

bool processIsTerminating()
{
    return false;
}
}

int main()
{
    try
    {
        const NvidiaGroup group;
        bool allAgree = true;
        for (const auto& gpu : group.gpus())
            allAgree = check(*gpu) && allAgree;
        std::printf("%zu devices, %s\n", group.gpus().size(), allAgree ? "all agree" : "not all agree");
        return allAgree ? 0 : 1;
    }
    catch (const NvidiaException& error)
    {
        std::printf("nothing was checked: %s\n", error.what());
        return kSkipped;
    }
}
