#include "bench/wine/BareClient.h"
#include "bench/wine/Timing.h"
#include "hw_inventory_interface.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// Compares the time of the built library's collections with that of the bare client, and so that of a new thread's first one, which
// connects the thread to WMI. Both sides run in turn, so that other load on the machine affects both. What a process does once is
// left out: the first collection of each kind is not timed.
//   collections [ROUNDS]
namespace
{
constexpr double kBar = 1.10;
constexpr double kFirstCallBar = 1.2;
constexpr int kRounds = 101;

struct Kind
{
    const char* name;
    ExportStatus (*find)(char** buffer, size_t* size);
    std::size_t (BareClient::*ask)();
    const char* list; // the key of the document's entries
};

const Kind kKinds[] = {
    {"cpus", hardware_inventory_find_cpus, &BareClient::cpus, "cpus"},
    {"gpus", hardware_inventory_find_gpus, &BareClient::gpus, "gpus"},
    {"ram", hardware_inventory_find_ram, &BareClient::ram, "rams"},
    {"disks", hardware_inventory_find_disks, &BareClient::disks, "disks"},
    {"networkAdapters", hardware_inventory_find_network_adapters, &BareClient::networkAdapters, "networkAdapters"},
    {"baseBoards", hardware_inventory_find_base_boards, &BareClient::baseBoards, "motherBoards"},
    {"system", hardware_inventory_find_system, &BareClient::system, nullptr},
    {"hotfixes", hardware_inventory_find_hotfixes, &BareClient::hotfixes, "hotfixes"},
};

std::string collect(const Kind& kind)
{
    char* buffer = nullptr;
    size_t size = 0;
    if (kind.find(&buffer, &size) != EXPORT_STATUS_SUCCESS)
        throw std::runtime_error(std::string("the library fails to collect ") + kind.name);
    const std::string document = buffer;
    release_buffer(buffer);
    return document;
}

// A client with other entries than the library's does other work. If WMI has none, a virtual host gets an emulated one.
void warmUp(const Kind& kind, BareClient& client)
{
    const auto document = nlohmann::json::parse(collect(kind));
    const std::size_t asked = (client.*kind.ask)();
    if (kind.list && asked != 0 && document.at(kind.list).size() != asked)
        throw std::runtime_error(std::string("the bare client and the library count differently: ") + kind.name);
}

struct Times
{
    double library = 0;
    double bare = 0;
};

template <class Library, class Bare>
Times inTurn(bool libraryFirst, Library library, Bare bare)
{
    Times times;
    if (libraryFirst)
        times.library = library();
    times.bare = bare();
    if (!libraryFirst)
        times.library = library();
    return times;
}

Times measure(const Kind& kind, BareClient& client, bool libraryFirst)
{
    const auto library = [&] { return milliseconds([&] { collect(kind); }); };
    const auto bare = [&] { return milliseconds([&] { (client.*kind.ask)(); }); };
    return inTurn(libraryFirst, library, bare);
}

template <class Work>
auto onNewThread(Work work)
{
    return [work]
    {
        double time = 0;
        std::thread([&] { time = work(); }).join();
        return time;
    };
}

// Includes the connection, but not its release.
Times measureFirstCall(bool libraryFirst)
{
    const auto library = [] { return milliseconds([] { collect(kKinds[0]); }); };
    const auto bare = []
    {
        std::optional<BareClient> client;
        return milliseconds([&] { client.emplace().cpus(); });
    };
    return inTurn(libraryFirst, onNewThread(library), onNewThread(bare));
}

// Prints one line of medians; returns their ratio.
double report(const char* name, const std::vector<Times>& rounds)
{
    std::vector<double> library, bare, ratios;
    for (const Times& times : rounds)
    {
        library.push_back(times.library);
        bare.push_back(times.bare);
        ratios.push_back(times.library / times.bare);
    }
    const double ratio = quantile(library, 0.5) / quantile(bare, 0.5);
    std::printf("collections/%-16s library %9.3f ms, bare client %9.3f ms, ratio %.3f (rounds' quartiles %.3f to %.3f)\n", name,
                quantile(library, 0.5), quantile(bare, 0.5), ratio, quantile(ratios, 0.25), quantile(ratios, 0.75));
    return ratio;
}

bool run(int roundCount)
{
    BareClient client;
    for (const Kind& kind : kKinds)
        warmUp(kind, client);

    std::vector<Times> sums(static_cast<std::size_t>(roundCount));
    std::vector<Times> rounds[std::size(kKinds)];
    for (std::size_t round = 0; round < sums.size(); ++round)
    {
        for (std::size_t index = 0; index < std::size(kKinds); ++index)
        {
            const Times times = measure(kKinds[index], client, (round + index) % 2 == 0);
            rounds[index].push_back(times);
            sums[round].library += times.library;
            sums[round].bare += times.bare;
        }
    }
    std::vector<Times> firstCalls;
    for (int round = 0; round < roundCount; ++round)
        firstCalls.push_back(measureFirstCall(round % 2 == 0));

    for (std::size_t index = 0; index < std::size(kKinds); ++index)
        report(kKinds[index].name, rounds[index]);
    const bool allHold = printFigure("all eight collections against a bare client", report("all", sums), kBar);
    const bool firstHolds =
        printFigure("a thread's first find_cpus against a bare client", report("first cpus", firstCalls), kFirstCallBar);
    return allHold && firstHolds;
}
}

int main(int argc, char** argv)
{
    try
    {
        return run(argc > 1 ? std::max(1, std::atoi(argv[1])) : kRounds) ? 0 : 1;
    }
    catch (const std::exception& failure)
    {
        std::printf("%s\n", failure.what());
        return 2;
    }
}
