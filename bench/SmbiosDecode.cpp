#include "bench/Figures.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/SMBIOS/SmbiosInventory.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <numeric>

// A real table decoded in the process, against dmidecode on the same table as a dump of its own kind. Each iteration takes the
// next table, so that a time is that of an average table.
namespace
{
using Bytes = std::vector<std::uint8_t>;
namespace fs = std::filesystem;

Bytes firmware;

const bool figures[] = {
    bench::atLeast("processor time of a dmidecode process against a firmware table decoded", 20.0,
                   {"dmidecodeProcess", "processorSeconds"}, {"decodeTable"}),
    bench::atMost("an average firmware table decoded, microseconds", 50.0, {"decodeTable", "microseconds"}),
};

std::vector<Bytes> tables()
{
    std::vector<Bytes> tables;
    const fs::path folder = fs::path(bench::corpusFolder()) / "smbios";
    if (fs::is_directory(folder))
        for (const auto& entry : fs::directory_iterator(folder))
            if (entry.path().extension() == ".rsmb")
            {
                std::ifstream stream(entry.path(), std::ios::binary);
                tables.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
            }
    return tables;
}

void decodeTable(benchmark::State& state)
{
    const auto all = tables();
    if (all.empty())
        return bench::skipWithoutCorpus(state);
    std::size_t next = 0;
    for (auto _ : state)
    {
        firmware = all[next++ % all.size()];
        const HardwareInventory::SMBIOS::SmbiosInventory inventory;
        benchmark::DoNotOptimize(&inventory);
    }
    using benchmark::Counter;
    state.counters["microseconds"] = Counter(1e-6, Counter::kIsIterationInvariantRate | Counter::kInvert);
}
BENCHMARK(decodeTable);

// The 64-bit entry point with 32 as the table's address, then the table.
void writeDump(const fs::path& path, const Bytes& table)
{
    const auto length = static_cast<std::uint32_t>(table.size() - 8);
    const std::uint64_t address = 32;
    Bytes dump(address);
    std::memcpy(dump.data(), "_SM3_", 5);
    dump[6] = 0x18;
    dump[7] = table[1];
    dump[8] = table[2];
    std::memcpy(&dump[0x0C], &length, sizeof length);
    std::memcpy(&dump[0x10], &address, sizeof address);
    dump[5] -= std::accumulate(dump.begin(), dump.end(), std::uint8_t{0});
    dump.insert(dump.end(), table.begin() + 8, table.end());
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(dump.data()), static_cast<long>(dump.size()));
}

// The processor time of a dmidecode process in seconds; negative if it cannot be run.
double runDmidecode(const fs::path& dump)
{
    std::string name = "dmidecode", option = "--from-dump", path = dump.string();
    char* const arguments[] = {name.data(), option.data(), path.data(), nullptr};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&quiet, output, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    int status = posix_spawnp(&process, arguments[0], &quiet, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&quiet);
    rusage usage{};
    if (status != 0 || wait4(process, &status, 0, &usage) != process || status != 0)
        return -1;
    const auto seconds = [](const timeval& time)
    { return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec); };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void dmidecodeProcess(benchmark::State& state)
{
    const auto all = tables();
    if (all.empty())
        return bench::skipWithoutCorpus(state);
    const fs::path folder = fs::temp_directory_path() / ("smbios-bench-" + std::to_string(getpid()));
    fs::create_directories(folder);
    for (std::size_t index = 0; index < all.size(); ++index)
        writeDump(folder / std::to_string(index), all[index]);

    std::size_t next = 0;
    double total = 0;
    for (auto _ : state)
    {
        const double seconds = runDmidecode(folder / std::to_string(next++ % all.size()));
        if (seconds < 0)
        {
            state.SkipWithError("dmidecode cannot be run");
            break;
        }
        total += seconds;
    }
    state.counters["processorSeconds"] = benchmark::Counter(total, benchmark::Counter::kAvgIterations);
    fs::remove_all(folder);
}
BENCHMARK(dmidecodeProcess);
}

namespace HardwareInventory::Platform
{
std::uint32_t enumerateFirmwareTables(std::uint32_t)
{
    return 4;
}

Result<std::vector<std::uint8_t>, FirmwareStep> firmwareTable(std::uint32_t, std::uint32_t)
{
    return firmware;
}
}
