#include "hw-inventory-impl/lib/GPU/GPUException.h"
#include "hw-inventory-impl/lib/GPU/NvidiaGroup.h"
#include "hw-inventory-impl/lib/Platform.h"

#include <dlfcn.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <vector>

// Reads every Nvidia device of this machine through the real driver and prints what the library reads beside what nvidia-smi
// reports. What cannot change between the two readings must agree; the rest is for the eye.
//   0: all agree    1: a difference    77: no Nvidia driver here, nothing was checked
namespace
{
using namespace HardwareInventory;

constexpr int kSkipped = 77;

// What nvidia-smi was asked for, one text per field, in the order asked.
using Report = std::map<std::string, std::string>;
const std::vector<std::string> kFields = {"pci.bus_id",  "serial",       "memory.total",           "temperature.gpu",
                                          "memory.used", "memory.free",  "utilization.gpu",        "utilization.memory",
                                          "power.draw"};

Report nvidiaSmiReport(std::uint32_t index)
{
    std::string command = "nvidia-smi --format=csv,noheader,nounits --id=" + std::to_string(index) + " --query-gpu=";
    for (const std::string& field : kFields)
        command += field + ',';
    command.pop_back();

    std::string text;
    if (FILE* const pipe = popen(command.c_str(), "r"))
    {
        char buffer[1024];
        while (std::fgets(buffer, sizeof(buffer), pipe))
            text += buffer;
        pclose(pipe);
    }
    Report report;
    std::istringstream stream(text.substr(0, text.find('\n')));
    std::string value;
    for (const std::string& field : kFields)
        if (std::getline(stream >> std::ws, value, ','))
            report[field] = value;
    return report;
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

bool sameMebibytes(float kibibytes, const std::string& theirs)
{
    return !isUnknown(theirs) && std::abs(kibibytes / 1024 - std::stof(theirs)) <= 1;
}

class Comparison
{
public:
    explicit Comparison(Report report) : report_(std::move(report)) {}

    // A field that must agree.
    void require(const char* field, const std::string& ours, bool same)
    {
        print(field, ours, same ? "agrees" : "DIFFERS");
        allAgree_ = allAgree_ && same;
    }

    // A field that changes from one moment to the next.
    void show(const char* field, const std::string& ours) { print(field, ours, ""); }

    const std::string& theirs(const char* field) { return report_[field]; }
    bool allAgree() const { return allAgree_; }

private:
    void print(const char* field, const std::string& ours, const char* verdict)
    {
        std::printf("  %-20s %24s %24s  %s\n", field, ours.c_str(), report_[field].c_str(), verdict);
    }

    Report report_;
    bool allAgree_ = true;
};

std::string text(float value)
{
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), "%.2f", static_cast<double>(value));
    return buffer;
}

bool check(const NvidiaGPU& gpu)
{
    const NvidiaReadings& ours = gpu.readings();
    Comparison comparison(nvidiaSmiReport(gpu.index()));
    std::printf("device %u %32s %24s\n", gpu.index(), "read here", "nvidia-smi");
    comparison.require("pci.bus_id", ours.pciBusId, sameAddress(ours.pciBusId, comparison.theirs("pci.bus_id")));
    comparison.require("serial", ours.serial, sameSerial(ours.serial, comparison.theirs("serial")));
    comparison.require("memory.total", text(ours.memoryTotalKiB / 1024),
                       sameMebibytes(ours.memoryTotalKiB, comparison.theirs("memory.total")));
    comparison.show("temperature.gpu", ours.temperature ? text(*ours.temperature) : "absent");
    comparison.show("memory.used", text(ours.memoryUsedKiB / 1024)); // what the driver reserves is counted differently
    comparison.show("memory.free", text(ours.memoryFreeKiB / 1024));
    comparison.show("utilization.gpu", std::to_string(ours.gpuUtilization));
    comparison.show("utilization.memory", std::to_string(ours.memoryUtilization));
    comparison.show("power.draw", text(ours.powerWatts));
    return comparison.allAgree();
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
