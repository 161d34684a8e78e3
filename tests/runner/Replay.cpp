#include "tests/runner/Replay.h"

#include "machine/Kinds.h"
#include "machine/MachineInUse.h"
#include "machine/RecordedMachine.h"
#include "machine/RecordingMachine.h"

#include <gtest/gtest.h>

#include <deque>
#include <regex>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace HardwareInventory;

namespace
{
Recording* recording = nullptr;
std::vector<std::string> lines;

// The text of a failure is left without its place in the source.
void keepLine(std::uint32_t level, const char* message)
{
    static const std::regex address("0x[0-9a-f]{6,}|\\b[0-9A-F]{16}\\b");
    static const std::regex cause("( format: )[^]*"); // whatever the C library's error number holds
    static const std::regex place("^.*?:[A-Za-z:_~]*:[0-9]+:"), trace("(:\\[[0-9]+\\] |\n)[^]*");
    static const std::regex vendors("has already been registered$|^(trying to find vendor|vendor candidates|closest vendor) ");
    std::string line = std::regex_replace(std::regex_replace(message, address, "@"), cause, "$1@");
    if (level == 2)
        line = std::regex_replace(std::regex_replace(line, trace, ""), place, "");
    if (!std::regex_search(line, vendors))
        lines.push_back(std::to_array({"info ", "warning ", "error ", "trace "})[level] + line);
}
}

void setMachine(const Json& json)
{
    // For the life of the process: the vendors' libraries are called until its end.
    static auto& recordings = *new std::deque<Recording>;
    static auto& machines = *new std::deque<Platform::RecordedMachine>;
    recording = &recordings.emplace_back(Recording::of(json));
    Platform::useMachine(machines.emplace_back(*recording));
}

// Without a callback of ours: a recording has its own.
static Replayed collectUnlogged(std::string_view only, const std::vector<std::string>& keys)
{
    Replayed replayed{Json::object(), Json::object(), {}};
    for (const Kind& kind : kKinds)
    {
        if (!only.empty() && kind.name != only)
            continue;
        char* buffer = nullptr;
        std::size_t size = 7;
        if (const ExportStatus status = kind.find(&buffer, &size))
        {
            EXPECT_TRUE(!buffer && size == 7) << kind.name << ": a failed call wrote its outputs";
            replayed.statuses[std::string(kind.name)] = status;
            continue;
        }
        const Json document = Json::parse(buffer);
        EXPECT_EQ(document.dump(), buffer) << "compact, its keys sorted";
        EXPECT_EQ(size, std::strlen(buffer) + 1);
        release_buffer(buffer);
        replayed.documents.update(document);
    }
    for (const std::string& key : keys)
        replayed.documents[key] = described(key);
    return replayed;
}

Replayed collect(std::string_view only, const std::vector<std::string>& keys)
{
    lines.clear();
    hardware_inventory_set_logger(keepLine);
    Replayed replayed = collectUnlogged(only, keys);
    hardware_inventory_set_logger(nullptr);
    replayed.log = lines;
    return replayed;
}

Json recordedAgain([[maybe_unused]] const Json& json, [[maybe_unused]] std::string_view kind,
                   [[maybe_unused]] const std::vector<std::string>& keys)
{
    Json recorded;
#ifndef _WIN32
    std::FILE* const file = std::tmpfile();
    const pid_t child = fork();
    if (child == 0)
    {
        setMachine(json);
        static Recording again;
        static Platform::RecordingMachine recording(Platform::machine(), again);
        Platform::useMachine(recording);
        collectUnlogged(kind, keys);
        std::fputs(again.text().c_str(), file);
        std::fflush(file);
        _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    std::rewind(file);
    recorded = Json::parse(file);
    std::fclose(file);
#endif
    return recorded;
}

std::size_t timesAsked(const std::string& question)
{
    return recording->timesAsked(question);
}
