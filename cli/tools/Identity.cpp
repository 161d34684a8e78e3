#include "cli/tools/Identity.h"

#include "cli/documents/Placeholders.h"
#include "cli/documents/Text.h"

#include <algorithm>
#include <functional>
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

namespace
{
// Pairs the records of two lists, by one text after the other.
class Pairing
{
public:
    Pairing(const json& oldRecords, const json& newRecords, const RecordRules& rules)
        : old_(oldRecords), new_(newRecords), rules_(rules), taken_(newRecords.size())
    {
        for (std::size_t index = 0; index < old_.size(); ++index)
            found_.emplace_back(index, std::nullopt);
    }

    // Those that are left and have the same text, if they have one.
    void by(const std::function<std::string(const json&)>& textOf)
    {
        std::map<std::string, std::vector<std::size_t>> candidates;
        for (std::size_t index = 0; index < new_.size(); ++index)
            if (std::string text = taken_[index] ? std::string() : textOf(new_[index]); !text.empty())
                candidates[std::move(text)].push_back(index);
        for (auto& [oldIndex, newIndex] : found_)
        {
            const auto same = newIndex ? candidates.end() : candidates.find(textOf(old_[*oldIndex]));
            if (same != candidates.end())
                newIndex = take(old_[*oldIndex], same->second);
        }
    }

    // The pairs, then the new records that have no other.
    std::vector<Pair> withTheRest()
    {
        for (std::size_t index = 0; index < new_.size(); ++index)
            if (!taken_[index])
                found_.emplace_back(std::nullopt, index);
        return found_;
    }

private:
    // The first candidate that does not contradict the record.
    std::optional<std::size_t> take(const json& record, std::vector<std::size_t>& candidates)
    {
        const auto first =
            std::ranges::find_if(candidates, [&](std::size_t index) { return !contradict(record, new_[index], rules_); });
        if (first == candidates.end())
            return std::nullopt;
        const std::size_t index = *first;
        candidates.erase(first);
        taken_[index] = true;
        return index;
    }

    const json& old_;
    const json& new_;
    const RecordRules& rules_;
    std::vector<Pair> found_;
    std::vector<bool> taken_;
};
}

std::vector<Pair> pairs(const json& oldRecords, const json& newRecords, const RecordRules& rules)
{
    Pairing pairing(oldRecords, newRecords, rules);
    for (const std::string_view key : {rules.unique, rules.places[0], rules.places[1]})
        pairing.by([key](const json& record) { return comparable(record, key); });
    pairing.by([&](const json& record) { return std::string(hasIdentity(record, rules) ? "" : "none"); });
    return pairing.withTheRest();
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
