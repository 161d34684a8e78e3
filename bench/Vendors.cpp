#include "bench/AllocationCounter.h"
#include "bench/Figures.h"
#include "bench/PlainVendorRegistry.h"
#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "hw-inventory-impl/lib/VendorRegistry.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Utf8.h"

#include <fstream>

using HardwareInventory::PciIdDatabase;
using HardwareInventory::VendorRegistry;
using ZelStdCore::HostLogger;

namespace
{
const bool figures[] = {
    bench::atLeast("vendor of a disk model, the plain query against ours", 3.0, {"findVendorsPlainly"}, {"findVendors"}),
    bench::atLeast("vendor of a disk model, logged against not logged", 2.0, {"findVendorsLogged"}, {"findVendors"}),
    bench::atMost("allocations per vendor query without a callback", 6.0, {"findVendors", "allocations"}),
};

std::vector<std::wstring> diskModels()
{
    std::vector<std::wstring> models;
    std::ifstream lines(bench::corpusFolder() + "/strings/disk_models.txt");
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with('#'))
            models.push_back(ZelStdCore::widen(line.substr(0, line.find('\t'))));
    return models;
}

// An iteration finds the vendor of every disk model.
template <class Registry>
void findEach(benchmark::State& state, const Registry& registry)
{
    const auto models = diskModels();
    if (models.empty())
        return bench::skipWithoutCorpus(state);
    const auto before = bench::allocations().count;
    for (auto iteration : state)
        for (const std::wstring& model : models)
            benchmark::DoNotOptimize(registry.closestVendor(model));
    const auto taken = static_cast<double>(bench::allocations().count - before);
    state.counters["allocations"] = taken / static_cast<double>(state.iterations() * models.size());
}

void findVendors(benchmark::State& state)
{
    findEach(state, VendorRegistry::instance());
}
BENCHMARK(findVendors);

void findVendorsLogged(benchmark::State& state)
{
    HostLogger::instance().set([](std::uint32_t, const char*) {});
    findEach(state, VendorRegistry::instance());
    HostLogger::instance().set(nullptr);
}
BENCHMARK(findVendorsLogged);

void findVendorsPlainly(benchmark::State& state)
{
    plain::VendorRegistry registry;
    for (const std::wstring& name : PciIdDatabase::instance().vendorNames())
        registry.registerVendor(name);
    findEach(state, registry);
}
BENCHMARK(findVendorsPlainly);
}
