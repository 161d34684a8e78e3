#include "bench/AllocationCounter.h"
#include "bench/Figures.h"
#include "hw-inventory-impl/lib/PCI/BuiltInList.h"
#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"

extern "C"
{
#include <pci/pci.h>
}

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <unistd.h>

using namespace HardwareInventory;

namespace
{
const bool figures[] = {
    bench::atMost("parse of the built-in list against a bare scan for its line ends", 3.0, {"parseList"}, {"scanLineEnds"}),
    bench::atLeast("parse by libpci of the same list against ours", 6.0, {"parseListByLibpci"}, {"parseList"}),
    bench::atMost("memory after the parse beyond the text, MiB", 1.0, {"parseList", "MiB"}),
    bench::atMost("lookup of a device's name against a std::map of texts", 1.0, {"findDevice"}, {"findDeviceInMap"}),
    bench::atMost("allocations per lookup", 1.0, {"findDevice", "allocations"}),
};

void scanLineEnds(benchmark::State& state)
{
    const auto text = builtInPciIdList();
    for (auto iteration : state)
    {
        const char* position = text.data();
        const char* const end = position + text.size();
        while (position != end)
        {
            const auto* const lineEnd = static_cast<const char*>(std::memchr(position, '\n', end - position));
            position = lineEnd ? lineEnd + 1 : end;
            benchmark::DoNotOptimize(position);
        }
    }
}
BENCHMARK(scanLineEnds);

void parseList(benchmark::State& state)
{
    const auto text = builtInPciIdList();
    std::size_t taken = 0;
    for (auto iteration : state)
    {
        const auto before = bench::allocations().live;
        PciIdDatabase database;
        database.parse(text.data(), text.size());
        taken = bench::allocations().live - before;
    }
    state.counters["MiB"] = static_cast<double>(taken) / (1 << 20);
}
BENCHMARK(parseList);

// Libpci takes the list as a file.
void parseListByLibpci(benchmark::State& state)
{
    const auto path = std::filesystem::temp_directory_path() / ("pci.ids." + std::to_string(getpid()));
    std::ofstream(path, std::ios::binary) << builtInPciIdList();
    pci_access* const access = pci_alloc();
    pci_set_name_list_path(access, strdup(path.c_str()), 1);
    for (auto iteration : state)
    {
        if (!pci_load_name_list(access))
            state.SkipWithError("libpci cannot load the list");
        pci_free_name_list(access);
    }
    pci_cleanup(access);
    std::filesystem::remove(path);
}
BENCHMARK(parseListByLibpci);

std::wstring nameOf(const PciIdDatabase& database, std::uint64_t id)
{
    return database.modelName(static_cast<std::uint16_t>(id >> 16), static_cast<std::uint16_t>(id));
}

// Every device of the list, in an order that no cache can profit from.
std::vector<std::uint64_t> shuffledDevices()
{
    PciIdTables tables;
    parsePciIdList(builtInPciIdList(), tables);
    std::vector<std::uint64_t> ids;
    for (const auto& entry : tables.models.entries())
        ids.push_back(entry.id);
    std::ranges::shuffle(ids, std::mt19937(1));
    return ids;
}

template <class Lookup>
void findEachInTurn(benchmark::State& state, const std::vector<std::uint64_t>& ids, Lookup lookup)
{
    std::size_t turn = 0;
    const auto before = bench::allocations().count;
    for (auto iteration : state)
    {
        benchmark::DoNotOptimize(lookup(ids[turn]));
        turn = turn + 1 == ids.size() ? 0 : turn + 1;
    }
    const auto taken = static_cast<double>(bench::allocations().count - before);
    state.counters["allocations"] = taken / static_cast<double>(state.iterations());
}

void findDevice(benchmark::State& state)
{
    const auto& database = PciIdDatabase::instance();
    findEachInTurn(state, shuffledDevices(), [&database](std::uint64_t id) { return nameOf(database, id); });
}
BENCHMARK(findDevice);

void findDeviceInMap(benchmark::State& state)
{
    const auto ids = shuffledDevices();
    std::map<std::uint64_t, std::wstring> names;
    for (const std::uint64_t id : std::set(ids.begin(), ids.end()))
        names.emplace(id, nameOf(PciIdDatabase::instance(), id));
    findEachInTurn(state, ids,
                   [&names](std::uint64_t id)
                   {
                       const auto name = names.find(id);
                       return name == names.end() ? std::wstring() : name->second;
                   });
}
BENCHMARK(findDeviceInMap);
}
