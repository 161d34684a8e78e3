#pragma once

#include "cli/ExitStatus.h"
#include "cli/documents/Kinds.h"

#include <chrono>
#include <filesystem>
#include <memory>

namespace HardwareInventory
{
// What came of one kind, and when.
struct Collected
{
    hw_inventory::Result result; // the document as the library has it, unchecked
    std::chrono::system_clock::time_point began;
    std::chrono::milliseconds took{};
};

// Statuses of failures beside those of the library and of hw_inventory::Status.
inline constexpr auto kWorkerEnded = static_cast<hw_inventory::Status>(1002);
inline constexpr auto kNoDocument = static_cast<hw_inventory::Status>(1003);

hw_inventory::Kind enumerator(const DocumentKind& kind);

// A status in words: "WMI query".
const char* statusName(hw_inventory::Status status);

class Collector
{
public:
    virtual ~Collector() = default;

    // Throws UnavailableError.
    virtual Collected collect(const DocumentKind& kind) = 0;
};

// Collects in this process, without a limit: a library that hangs or crashes does that to the program. The log is called on another
// thread while collect runs. Throws UnavailableError.
std::unique_ptr<Collector> collectHere(const std::filesystem::path& library, hw_inventory::Log log);

// Collects in a process of its own, which is ended when a kind takes longer than the limit, and replaced when it has ended. The log
// is called on the caller's thread.
std::unique_ptr<Collector> collectElsewhere(const std::filesystem::path& library, hw_inventory::Log log,
                                            std::chrono::milliseconds limit);

// What that process does: it ends when its standard input does.
int serveCollector();
}
