#include "tests/runner/Cases.h"
#include "tests/runner/Replay.h"

#include <gtest/gtest.h>

#include <cstdlib>

// Each answer of each machine fails once, in every way that it can, in a process of its own. A call that fails has a documented
// status, a document that lacks a fact has a line in the log, and the next collections are whole again.
namespace
{
using cases::Case;
using HardwareInventory::Json;

Json exception(const char* code)
{
    return {{"exception", code}, {"message", "cause"}};
}

Json failed(const char* step)
{
    return {{"failed", step}, {"code", 5}};
}

std::vector<Json> failuresOfQuery(const Json& objects)
{
    std::vector<Json> failures{exception("wmiQuery"), {{"objects", Json::array()}, {"log", {{1, "failed to iterate"}}}}};
    for (std::size_t index = 0; objects.is_array() && index < objects.size(); ++index)
        for (const auto& [property, value] : objects[index].items())
            for (const char* failure : {"unreadable", "raises", "notAttached"})
            {
                failures.push_back(objects);
                failures.back()[index][property] = {{failure, true}};
            }
    return failures;
}

std::vector<Json> failuresOf(const std::string& question, const Json& answer)
{
    static const std::pair<const char*, std::vector<Json>> kinds[] = {
        {"connect optional", {{{"failed", 5}}, exception("comInitialization"), exception("wmiSecurityBlanket")}},
        {"connect",
         {exception("comInitialization"), exception("wmiLocator"), exception("wmiBind"), exception("wmiSecurityBlanket")}},
        {"registry", {failed("openKey"), failed("valueSize"), failed("value")}},
        {"domain controller",
         {{{"status", 1355}, {"name", ""}, {"freeStatus", 0}}, {{"status", 0}, {"name", "x"}, {"freeStatus", 5}}}},
        {"locale", {{{"failed", 5}}}},
        {"physical memory", {{{"failed", 5}}}},
        {"trim", {failed("openDrive"), failed("query")}},
        {"device", {failed("deviceSet"), failed("element"), failed("busNumber"), failed("address")}},
        {"firmware tables", {0}},
        {"firmware table ", {{{"failed", "size"}}, {{"failed", "read"}}, "00 02 07", ""}},
        {"module", {false}},
        {"call", {Json{999}, Json::array({nullptr})}},
    };
    if (question.starts_with("query"))
        return failuresOfQuery(answer);
    for (const auto& [begin, failures] : kinds)
        if (question.starts_with(begin))
            return failures;
    return {};
}

// The process keeps what it found first of these.
bool isKept(const std::string& question)
{
    return question.starts_with("connect optional") || question.starts_with("firmware tables") || question.starts_with("module") ||
           question.starts_with("call");
}

[[noreturn]] void collectTwice(const Case& machine, const std::string& question, const Json& failure)
{
    Json recording = machine.recording;
    recording["answers"][question] = {{"inTurn", {failure, machine.recording["answers"][question]}}};
    setMachine(recording);
    const Replayed hurt = collect();
    for (const auto& [kind, status] : hurt.statuses.items())
        EXPECT_TRUE(status == 1 || status == 2 || status == 8) << kind << ": " << status;
    const bool silent = question.starts_with("call") || machine.documents == hurt.documents;
    EXPECT_TRUE(silent || hurt.log.size() > machine.log.size() || hurt.log != machine.log) << "a fact got lost without a word";
    if (!isKept(question))
        EXPECT_EQ(Json::diff(machine.documents, collect().documents).dump(), "[]") << "the next collections";
    std::_Exit(testing::Test::HasFailure());
}
}

TEST(Faults, EachAnswerFailsOnce)
{
    std::vector<Json> done;
    int failures = 0;
    for (Case machine : cases::all())
    {
        if (machine.name != "machine" || std::ranges::find(done, machine.recording) != done.end())
            continue;
        done.push_back(machine.recording);
        std::erase_if(machine.documents.get_ref<Json::object_t&>(), [](const auto& entry)
                      { return entry.first == "firmware" || entry.first == "vendorGpus" || entry.first == "vmType"; });
        for (const auto& [question, answer] : machine.recording["answers"].items())
            for (const Json& failure : failuresOf(question, answer))
            {
                ++failures;
                EXPECT_EXIT(collectTwice(machine, question, failure), testing::ExitedWithCode(0), "")
                    << machine.file << ", " << question << ": " << failure.dump();
            }
    }
    EXPECT_GT(failures, 100) << "of one machine alone";
}
