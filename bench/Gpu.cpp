#include "bench/Figures.h"
#include "hw-inventory-impl/lib/GPU/GpuVendorRegistry.h"
#include "hw-inventory-impl/lib/InventoryService.h"
#include "machine/MachineInUse.h"
#include "machine/RecordedMachine.h"

using namespace HardwareInventory;

namespace
{
// A machine with neither vendor's library pays for looking for them once. Afterwards completing a collection is two steps
// over an empty table, whatever it costs to gather the adapters.
const bool figures[] = {
    bench::atMost("completing four adapters without vendor libraries against an empty call", 20.0, {"completeWithoutLibraries"},
                  {"emptyCall"}),
    bench::atLeast("one collection of four adapters against completing them", 100.0, {"findGpus"}, {"completeWithoutLibraries"}),
};

constexpr const char* kPlugAndPlayIds[] = {
    "PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BF10DE&REV_A1\\0", "PCI\\VEN_1002&DEV_67DF&SUBSYS_0B371002&REV_C7\\1",
    "PCI\\VEN_8086&DEV_3E92&SUBSYS_86941043&REV_00\\2", "PCI\\VEN_10DE&DEV_2204&SUBSYS_38803842&REV_A1\\3"};

// Kept for the life of the process, as its adapters are.
void setUpMachine()
{
    Json answers = {{"connect ROOT\\CIMV2", true}};
    Json& adapters = answers["query ROOT\\CIMV2 SELECT * FROM Win32_VideoController"];
    std::uint32_t bus = 1;
    for (const char* const id : kPlugAndPlayIds)
    {
        adapters.push_back({{"PNPDeviceID", id}, {"Name", "adapter"}, {"Status", "OK"}});
        answers[std::string("device ") + id] = {{"busNumber", bus++}, {"address", 0}};
    }
    static Recording recording =
        Recording::of({{"format", "hw-machine recording"}, {"version", 1}, {"answers", std::move(answers)}});
    static Platform::RecordedMachine machine(recording);
    Platform::useMachine(machine);
}

void emptyCall(benchmark::State& state)
{
    void (*volatile nothing)(std::vector<GpuInfo>&) = [](std::vector<GpuInfo>&) {};
    std::vector<GpuInfo> gpus;
    for (auto iteration : state)
        nothing(gpus);
}
BENCHMARK(emptyCall);

void completeWithoutLibraries(benchmark::State& state)
{
    setUpMachine();
    std::vector<GpuInfo> gpus = InventoryService::instance().findGpus();
    for (auto iteration : state)
    {
        completeFromVendorLibraries(gpus);
        benchmark::DoNotOptimize(gpus.data());
    }
}
BENCHMARK(completeWithoutLibraries);

void findGpus(benchmark::State& state)
{
    setUpMachine();
    for (auto iteration : state)
        benchmark::DoNotOptimize(InventoryService::instance().findGpus());
}
BENCHMARK(findGpus);
}
