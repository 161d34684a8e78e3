#include "tests/runner/Cases.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

namespace cases
{
namespace
{
// The documents' own keys, by the kind that collects them.
const std::map<std::string, std::vector<std::string>> kKeysOfKinds{{"cpus", {"cpus"}},
                                                                   {"gpus", {"gpus"}},
                                                                   {"ram", {"rams", "usableMemory"}},
                                                                   {"disks", {"disks"}},
                                                                   {"system", {"system"}},
                                                                   {"network-adapters", {"networkAdapters"}},
                                                                   {"hotfixes", {"hotfixes"}},
                                                                   {"base-boards", {"motherBoards"}}};

std::string questionOf(const std::string& key)
{
    if (key.starts_with("Win32_"))
        return "query ROOT\\CIMV2 SELECT * FROM " + key;
    if (key.starts_with("ASSOCIATORS "))
        return "query ROOT\\CIMV2 " + key;
    if (key.starts_with("MSFT_"))
        return "query ROOT\\StandardCIMV2 SELECT * FROM " + key;
    return key;
}

void putAt(Json& root, const std::string& pointer, const Json& value)
{
    const Json::json_pointer at(pointer);
    Json& parent = root.at(at.parent_pointer());
    if (!value.is_null())
        root[at] = value;
    else if (parent.is_array())
        parent.erase(std::stoul(at.back()));
    else
        parent.erase(at.back());
}

// {"each": MEMBERS, "of": [ROW, ...]} is a list of rows that have members in common.
Json spelledOut(const Json& value)
{
    if (!value.is_object() || !value.contains("of"))
        return value;
    Json list = Json::array();
    for (const Json& row : value["of"])
    {
        list.push_back(row.is_null() ? row : value.value("each", Json::object()));
        if (!row.is_null())
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
        const std::size_t times = text.find(" x ");
        std::istringstream words(text);
        std::string word;
        if (words >> word && word == "unread")
            while (words >> word)
                lines.push_back("warning failed to get '" + word + "' property of @");
        else if (times == word.size() && word.find_first_not_of("0123456789") == std::string::npos)
            lines.insert(lines.end(), std::stoul(word), text.substr(times + 3));
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
    std::string area = word.substr(0, 2) + " " + word.substr(3);
    for (std::size_t byte = 2; byte < std::stoul(word.substr(3), nullptr, 16); ++byte)
        area += " 00";
    while (words >> word)
        for (std::size_t at = word.find('=') + 1, to = 3 * std::stoul(word, nullptr, 16); at < word.size(); at += 2, to += 3)
            area.replace(to, 2, word, at, 2);
    return area;
}

// The table of a version. A text behind its structures takes the place of the end-of-table structure.
Json tableOf(const std::string& version, Json structures)
{
    std::string rest = "7f 04 00 00 00 00";
    if (!structures.empty() && structures.back().is_string())
    {
        rest = structures.back();
        structures.erase(structures.size() - 1);
    }
    for (Json& structure : structures)
        structure[0] = formattedArea(structure[0]);
    const std::string header = "00 0" + version.substr(0, 1) + " 0" + version.substr(2) + " 00 ff ff ff ff";
    return {{"header", header}, {"structures", std::move(structures)}, {"rest", rest}};
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

Case changed(Case base, const Json& json)
{
    putAnswers(json.value("with", Json::object()), base.recording["answers"]);
    const Json status = json.value("status", Json::object());
    for (const auto& [kind, keys] : kKeysOfKinds)
        if (status.is_number() || status.contains(kind))
            base.statuses[kind] = status.is_number() ? status : status[kind];
    for (const auto& [kind, status] : base.statuses.items())
        if (status != 0)
            for (const std::string& key : kKeysOfKinds.at(kind))
                base.documents.erase(key);
    const Json gives = json.value("gives", Json::object());
    for (const auto& [key, value] : gives.items())
        putAt(base.documents, key.starts_with('/') ? key : "/" + key, spelledOut(value));
    base.logInOrder = json.contains("wholeLog");
    if (base.logInOrder)
        base.log = linesOf(json["wholeLog"]);
    for (const std::string& line : linesOf(json.value("unlogged", Json::array())))
    {
        const auto found = std::ranges::find(base.log, line);
        if (found == base.log.end())
            throw std::runtime_error(base.file + ", " + base.name + ": never logged: " + line);
        base.log.erase(found);
    }
    for (const std::string& line : linesOf(json.value("log", Json::array())))
        base.log.push_back(line);
    base.asked = Json::object();
    const Json asked = json.value("asked", Json::object());
    for (const auto& [question, times] : asked.items())
        base.asked[questionOf(question)] = times;
    base.rows = json.value("rows", Json::array());
    return base;
}

const Json& fileOf(const std::string& name)
{
    static std::map<std::string, Json> files;
    Json& file = files[name];
    if (file.is_null())
        file = Json::parse(std::ifstream(std::filesystem::path(MACHINES) / (name + ".json")), nullptr, true, true);
    return file;
}

Case machineOf(const std::string& name)
{
    const Json& file = fileOf(name);
    Case base;
    base.recording = {{"format", "hw-machine recording"}, {"version", 1}, {"answers", Json::object()}};
    base.documents = base.statuses = Json::object();
    if (file.contains("like"))
        base = machineOf(file["like"]);
    base.file = name;
    base.name = "machine";
    return changed(base, file);
}

std::vector<Case> load()
{
    std::vector<Case> loaded;
    for (const auto& entry : std::filesystem::directory_iterator(MACHINES))
    {
        if (entry.path().extension() != ".json")
            continue;
        loaded.push_back(machineOf(entry.path().stem().string()));
        const Case base = loaded.back();
        for (const Json& json : fileOf(base.file).value("cases", Json::array()))
        {
            loaded.push_back(base);
            loaded.back().name = json.at("name");
            loaded.back() = changed(loaded.back(), json);
        }
    }
    return loaded;
}
}

const std::vector<Case>& all()
{
    static const std::vector<Case> loaded = load();
    return loaded;
}

const Case& find(const std::string& file, const std::string& name)
{
    const auto found = std::ranges::find_if(all(), [&](const Case& each) { return each.file == file && each.name == name; });
    return found != all().end() ? *found : throw std::runtime_error("no case " + file + ", " + name);
}
}
