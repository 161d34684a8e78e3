#include "machine/Recording.h"

#include "machine/Answers.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace HardwareInventory
{
namespace
{
constexpr const char* kFormat = "hw-machine recording";
constexpr int kVersion = 1;

// Far above what a machine with a thousand devices gives, and far below what ends the memory of a process.
constexpr std::size_t kLargestText = std::size_t{64} << 20;
constexpr int kDeepest = 8;

const Json& member(const Json& document, const char* name)
{
    const auto found = document.find(name);
    if (found == document.end())
        throw std::runtime_error(std::string("not a recording: no \"") + name + "\"");
    return *found;
}

bool isInTurn(const Json& answer)
{
    return answer.is_object() && answer.size() == 1 && answer.contains("inTurn");
}

// Stops a text that nests too deep before the parser's memory does.
bool refuseDepth(int depth, Json::parse_event_t, Json& value)
{
    if (depth > kDeepest)
        throw std::runtime_error("not a recording: nested too deep");
    if (value.is_number_float())
        throw std::runtime_error("not a recording: a number is no integer of 64 bits");
    return true;
}
}

Recording Recording::parse(std::string_view text)
{
    if (text.size() > kLargestText)
        throw std::runtime_error("not a recording: larger than 64 MiB");
    try
    {
        return of(Json::parse(text, refuseDepth));
    }
    catch (const Json::exception& error)
    {
        throw std::runtime_error(std::string("not a recording: ") + error.what());
    }
}

Recording Recording::of(const Json& document)
{
    if (!document.is_object() || member(document, "format") != kFormat)
        throw std::runtime_error("not a recording: another format");
    if (member(document, "version") != kVersion)
        throw std::runtime_error("a recording of another version, " + member(document, "version").dump());

    Recording recording;
    recording.anonymised_ = document.value("anonymised", false);
    for (const auto& [question, answer] : member(document, "answers").get_ref<const Json::object_t&>())
    {
        std::vector<Json>& answers = recording.answers_[question].answers;
        if (isInTurn(answer))
            answers = answer["inTurn"].get<std::vector<Json>>();
        else
            answers = {answer};
        if (answers.empty())
            throw std::runtime_error("not a recording: no answer to \"" + question + "\"");
        for (const Json& each : answers)
            Answers::check(question, each);
    }
    return recording;
}

Json Recording::document() const
{
    Json answers = Json::object();
    for (const auto& [question, given] : answers_)
    {
        // The last answer stays, so its repetitions say nothing.
        std::vector<Json> inTurn = given.answers;
        while (inTurn.size() > 1 && inTurn.back() == inTurn[inTurn.size() - 2])
            inTurn.pop_back();
        answers[question] = inTurn.size() == 1 ? inTurn.front() : Json{{"inTurn", inTurn}};
    }
    return {{"format", kFormat}, {"version", kVersion}, {"anonymised", anonymised_}, {"answers", std::move(answers)}};
}

std::string Recording::text() const
{
    return document().dump(1) + "\n";
}

const Json* Recording::next(const std::string& question)
{
    const auto found = answers_.find(question);
    if (found == answers_.end())
    {
        unknown_.insert(question);
        return nullptr;
    }
    auto& [answers, next, timesAsked] = found->second;
    ++timesAsked;
    const Json& answer = answers[next];
    next = std::min(next + 1, answers.size() - 1);
    return &answer;
}

std::size_t Recording::timesAsked(const std::string& question) const
{
    const auto found = answers_.find(question);
    return found == answers_.end() ? 0 : found->second.timesAsked;
}

void Recording::add(const std::string& question, Json answer)
{
    answers_[question].answers.push_back(std::move(answer));
}
}
