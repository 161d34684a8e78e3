#include "tests/runner/Cases.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace cases
{
namespace
{
// The kinds that collect the documents' keys.
const Json kKinds = Json::parse(R"({"cpus": "cpus", "gpus": "gpus", "rams": "ram", "usableMemory": "ram", "disks": "disks",
    "system": "system", "networkAdapters": "network-adapters", "hotfixes": "hotfixes", "motherBoards": "base-boards"})");

std::string questionOf(const std::string& key)
{
    const char* const space = key.starts_with("Win32_") ? "CIMV2" : key.starts_with("MSFT_") ? "StandardCIMV2" : nullptr;
    return space ? std::string("query ROOT\\") + space + " SELECT * FROM " + key : key;
}

// {"each": MEMBERS, "of": [ROW, ...]} is a list of rows that have members in common.
Json spelledOut(const Json& value)
{
    if (!value.is_object() || !value.contains("of"))
        return value;
    Json list = Json::array();
    for (const Json& row : value["of"])
    {
        list.push_back(value.value("each", Json::object()));
        list.back().update(row);
    }
    return list;
}

// "3 x LINE" is a line that comes three times, "unread A B" the warnings for two properties that an object lacks.
std::vector<std::string> linesOf(const Json& json)
{
    std::vector<std::string> lines;
    for (const std::string text : json)
    {
        std::istringstream words(text);
        std::string word;
        std::size_t times = 0;
        if (text.starts_with("unread "))
            for (words >> word; words >> word;)
                lines.push_back("warning failed to get '" + word + "' property of @");
        else if (words >> times)
            lines.insert(lines.end(), times, text.substr(text.find(" x ") + 3));
        else
            lines.push_back(text);
    }
    return lines;
}

// "TYPE:LENGTH OFFSET=BYTES OFFSET=BYTES" in hexadecimal: a formatted area that is 0 elsewhere.
std::string formattedArea(const std::string& shortened)
{
    std::istringstream words(shortened);
    std::string word;
    words >> word;
    if (word.find(':') == word.npos)
        return shortened;
    const std::size_t length = std::stoul(word.substr(3), nullptr, 16);
    std::string area = word.replace(2, 1, " ");
    while (area.size() < 3 * length - 1)
        area += " 00";
    while (words >> word)
        for (std::size_t at = word.find('=') + 1, to = 3 * std::stoul(word, nullptr, 16); at < word.size(); at += 2, to += 3)
            area.replace(to, 2, word, at, 2);
    return area;
}

// The table of a version. A text behind its structures takes the place of the end-of-table structure.
Json tableOf(const std::string& version, Json structures)
{
    const bool broken = !structures.empty() && structures.back().is_string();
    const Json rest = broken ? structures.back() : "7f 04 00 00 00 00";
    if (broken)
        structures.erase(structures.size() - 1);
    for (Json& structure : structures)
        structure[0] = formattedArea(structure[0]);
    return {{"header", "00 0" + version.substr(0, 1) + " 0" + version.substr(2) + " 00 ff ff ff ff"},
            {"structures", structures},
            {"rest", rest}};
}

// "QUESTION" replaces or, with null, removes an answer; "QUESTION#/pointer" a part of one.
void putAnswers(const Json& with, Json& answers)
{
    for (const auto& [key, value] : with.items())
    {
        const std::size_t pointer = key.find("#/");
        const std::string question = questionOf(key.substr(0, pointer));
        if (key.starts_with("smbios "))
        {
            answers["firmware tables RSMB"] = 1;
            answers["firmware table RSMB 0"] = tableOf(key.substr(7), value);
        }
        else if (pointer != std::string::npos)
            answers.at(question)[Json::json_pointer(key.substr(pointer + 1))] = spelledOut(value);
        else if (value.is_null())
            answers.erase(question);
        else
            answers[question] = spelledOut(value);
    }
}

// Keys that are not there are null, which has no elements.
Case changed(Case base, Json json)
{
    base.name = json.value("name", "machine");
    putAnswers(json["with"], base.recording["answers"]);
    const Json& status = json["status"];
    for (const auto& [key, kind] : kKinds.items())
    {
        if (status.is_number() || status.contains(kind))
            base.statuses[std::string(kind)] = status.is_number() ? status : status.at(kind);
        if (base.statuses.contains(kind))
            base.documents.erase(key);
    }
    for (const auto& [key, value] : json["gives"].items())
    {
        const std::string pointer = key.starts_with('/') ? key : "/" + key;
        if (value.is_null())
            base.documents.patch_inplace({{{"op", "remove"}, {"path", pointer}}});
        else
            base.documents[Json::json_pointer(pointer)] = spelledOut(value);
    }
    base.logInOrder = json.contains("wholeLog");
    base.log = base.logInOrder ? linesOf(json["wholeLog"]) : base.log;
    for (const std::string& line : linesOf(json["unlogged"]))
        std::erase(base.log, line);
    std::ranges::copy(linesOf(json["log"]), std::back_inserter(base.log));
    base.asked.clear();
    for (const auto& [question, times] : json["asked"].items())
        base.asked[questionOf(question)] = times;
    base.rows = json["rows"];
    base.cases = json["cases"];
    return base;
}

Case machineOf(const std::string& name)
{
    const Json file = Json::parse(std::ifstream(std::string(MACHINES "/") + name + ".json"), nullptr, true, true);
    Case base;
    base.recording = {{"format", "hw-machine recording"}, {"version", 1}, {"answers", Json::object()}};
    base.documents = base.statuses = Json::object();
    if (file.contains("like"))
        base = machineOf(file["like"]);
    base.file = name;
    return changed(base, file);
}
}

const std::vector<Case>& all()
{
    static std::vector<Case> loaded;
    if (!loaded.empty())
        return loaded;
    for (const auto& entry : std::filesystem::directory_iterator(MACHINES))
    {
        if (entry.path().extension() != ".json")
            continue;
        const Case machine = machineOf(entry.path().stem().string());
        loaded.push_back(machine);
        for (const Json& json : machine.cases)
            loaded.push_back(changed(machine, json));
    }
    return loaded;
}

const Case& find(const std::string& file, const std::string& name)
{
    const auto found = std::ranges::find_if(all(), [&](const Case& each) { return each.file == file && each.name == name; });
    return found != all().end() ? *found : throw std::runtime_error("no case " + file + ", " + name);
}
}
