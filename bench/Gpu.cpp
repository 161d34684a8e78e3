#include "bench/Figures.h"
#include "hw-inventory-impl/lib/GPU/GpuVendorRegistry.h"
#include "hw-inventory-impl/lib/InventoryService.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/fakes/FakeManagementSource.h"

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

constexpr const wchar_t* kPlugAndPlayIds[] = {
    L"PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BF10DE&REV_A1\\0", L"PCI\\VEN_1002&DEV_67DF&SUBSYS_0B371002&REV_C7\\1",
    L"PCI\\VEN_8086&DEV_3E92&SUBSYS_86941043&REV_00\\2", L"PCI\\VEN_10DE&DEV_2204&SUBSYS_38803842&REV_A1\\3"};

void setUpMachine()
{
    auto& adapters = fakes::management().cimv2.answers[L"SELECT * FROM Win32_VideoController"];
    adapters.clear();
    std::uint32_t bus = 1;
    for (const wchar_t* const id : kPlugAndPlayIds)
    {
        adapters.push_back({{L"PNPDeviceID", std::wstring(id)}, {L"Name", L"adapter"}, {L"Status", L"OK"}});
        fakes::machine().locations[id] = {bus++, 0};
    }
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
    {
        benchmark::DoNotOptimize(InventoryService::instance().findGpus());
        fakes::machine().calls.clear();
        fakes::management().queries.clear();
    }
}
BENCHMARK(findGpus);
}
