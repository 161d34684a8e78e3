#include "cli/tools/Identity.h"

#include "cli/documents/Placeholders.h"
#include "cli/tools/Text.h"

#include <algorithm>
#include <map>

namespace HardwareInventory
{
namespace
{
using nlohmann::json;

const std::string* textOf(const json& record, std::string_view key)
{
    const auto member = record.is_object() && !key.empty() ? record.find(key) : record.end();
    return member == record.end() ? nullptr : member->get_ptr<const std::string*>();
}

bool hasIdentity(const json& record, const RecordRules& rules)
{
    const auto has = [&](std::string_view key) { return !comparable(record, key).empty(); };
    return has(rules.unique) || std::ranges::any_of(rules.places, has);
}

bool contradict(const json& oldRecord, const json& newRecord, const RecordRules& rules)
{
    const std::string left = comparable(oldRecord, rules.unique), right = comparable(newRecord, rules.unique);
    return !left.empty() && !right.empty() && left != right;
}
}

const RecordRules* rulesFor(std::string_view list)
{
    const auto found = std::ranges::find(kRecordRules, list, &RecordRules::list);
    return found == kRecordRules.end() ? nullptr : &*found;
}

json rulesAsJson()
{
    json table = json::object();
    for (const RecordRules& rules : kRecordRules)
    {
        json places = json::array();
        std::ranges::copy_if(rules.places, std::back_inserter(places), [](std::string_view key) { return !key.empty(); });
        table[std::string(rules.list)] = {
            {"unique", rules.unique.empty() ? json() : json(rules.unique)},
            {"places", places},
            {"ignored", rules.ignored.empty() ? json::array() : json::array({rules.ignored})},
        };
    }
    return table;
}

std::string comparable(const json& record, std::string_view key)
{
    const std::string* const text = textOf(record, key);
    if (!text || isPlaceholder(key, *text))
        return {};
    return inCapitals(trimmed(*text));
}

std::vector<Pair> pairs(const json& oldRecords, const json& newRecords, const RecordRules& rules)
{
    std::vector<Pair> found;
    for (std::size_t index = 0; index < oldRecords.size(); ++index)
        found.emplace_back(index, std::nullopt);
    std::vector<bool> taken(newRecords.size());

    // By the text that a function gives for a record, if it gives one.
    const auto pairBy = [&](const auto& textOf)
    {
        std::map<std::string, std::vector<std::size_t>> candidates;
        for (std::size_t index = 0; index < newRecords.size(); ++index)
            if (std::string text = taken[index] ? std::string() : textOf(newRecords[index]); !text.empty())
                candidates[std::move(text)].push_back(index);
        for (Pair& pair : found)
        {
            const json& record = oldRecords[*pair.first];
            const auto same = pair.second ? candidates.end() : candidates.find(textOf(record));
            if (same == candidates.end())
                continue;
            const auto first = std::ranges::find_if(same->second, [&](std::size_t index)
                                                    { return !contradict(record, newRecords[index], rules); });
            if (first == same->second.end())
                continue;
            pair.second = *first;
            taken[*first] = true;
            same->second.erase(first);
        }
    };
    for (const std::string_view key : {rules.unique, rules.places[0], rules.places[1]})
        pairBy([key](const json& record) { return comparable(record, key); });
    pairBy([&](const json& record) { return std::string(hasIdentity(record, rules) ? "" : "none"); });

    for (std::size_t index = 0; index < newRecords.size(); ++index)
        if (!taken[index])
            found.emplace_back(std::nullopt, index);
    return found;
}

std::string labelOf(const json& record, const RecordRules& rules, std::size_t index)
{
    std::vector<std::string> parts;
    for (const std::string_view key : {rules.shown, rules.places[0], rules.places[1], rules.unique})
    {
        const std::string* const value = textOf(record, key);
        std::string text = value ? oneLine(*value) : "";
        if (text.empty())
            continue;
        if (parts.empty() || (key == rules.unique && !isPlaceholder(key, text)))
            parts.push_back(std::move(text));
    }
    if (parts.empty())
        return "no. " + std::to_string(index + 1);
    return parts.size() == 1 ? parts.front() : parts.front() + " (" + parts.back() + ")";
}
}
