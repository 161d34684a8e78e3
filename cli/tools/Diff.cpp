#include "cli/tools/Diff.h"

#include "cli/documents/Kinds.h"
#include "cli/documents/Text.h"
#include "cli/tools/Identity.h"

#include <map>
#include <set>

namespace HardwareInventory
{
namespace
{
using nlohmann::json;

constexpr std::string_view kNames[] = {"changed", "added", "removed", "incomparable"};

// A value within one of the two documents, and where it is; null where there is none.
struct Side
{
    const json* value = nullptr;
    std::string at;

    Side member(const std::string& key) const
    {
        const auto found = value->find(key);
        return found == value->end() ? Side() : Side{&*found, (json::json_pointer(at) / key).to_string()};
    }

    Side item(std::optional<std::size_t> index) const
    {
        return index ? Side{&(*value)[*index], at + "/" + std::to_string(*index)} : Side();
    }
};

// Compares two documents of a machine and a kind.
class Comparison
{
public:
    Comparison(std::vector<Change>& changes, std::string machine, std::string kind, bool all)
        : changes_(changes), machine_(std::move(machine)), kind_(std::move(kind)), all_(all)
    {
    }

    // Members of two objects; in rules is what their record ignores.
    void compareMembers(const Side& before, const Side& after, const std::string& record, const std::string& path,
                        const RecordRules* rules)
    {
        std::set<std::string> keys;
        for (const Side& side : {before, after})
            for (const auto& [key, value] : side.value->items())
                keys.insert(key);
        for (const std::string& key : keys)
            if (all_ || !rules || key != rules->ignored)
                compareValues(before.member(key), after.member(key), record, path, key, rules);
    }

private:
    void compareValues(const Side& before, const Side& after, const std::string& record, const std::string& path,
                       const std::string& key, const RecordRules* rules)
    {
        const auto are = [&](bool (json::*type)() const noexcept, bool orAbsent)
        {
            const auto is = [&](const Side& side) { return side.value ? (side.value->*type)() : orAbsent; };
            return is(before) && is(after);
        };
        if (before.value && after.value && *before.value == *after.value)
            return;
        const RecordRules* const own = rulesFor(key);
        if (own && are(&json::is_array, true))
            compareRecords(before, after, record, *own);
        else if (own && are(&json::is_object, false))
            compareMembers(before, after, record, path, own);
        else if (are(&json::is_object, false))
            compareMembers(before, after, record, path + key + "/", rules);
        else
            report(Change::What::changed, before, after, record, path + key);
    }

    void compareRecords(Side before, Side after, const std::string& record, const RecordRules& rules)
    {
        static const json kNone = json::array();
        for (Side* const side : {&before, &after})
            side->value = side->value ? side->value : &kNone;
        for (const auto& [oldIndex, newIndex] : pairs(*before.value, *after.value, rules))
        {
            const Side left = before.item(oldIndex), right = after.item(newIndex);
            std::string label = record.empty() ? "" : record + ", ";
            label += labelOf(left.value ? *left.value : *right.value, rules, oldIndex ? *oldIndex : *newIndex);
            if (!left.value || !right.value)
                report(left.value ? Change::What::removed : Change::What::added, left, right, label, {});
            else if (left.value->is_object() && right.value->is_object())
                compareMembers(left, right, label, {}, &rules);
            else if (*left.value != *right.value)
                report(Change::What::changed, left, right, label, {});
        }
    }

    void report(Change::What what, const Side& before, const Side& after, const std::string& record, const std::string& key)
    {
        Change change{what, machine_, kind_, record, key, before.at, after.at, {}, {}, {}};
        if (before.value)
            change.before = *before.value;
        if (after.value)
            change.after = *after.value;
        changes_.push_back(std::move(change));
    }

    std::vector<Change>& changes_;
    std::string machine_, kind_;
    bool all_;
};

using Machine = std::map<std::string_view, const Envelope*>; // by the name of the kind

std::map<std::string, Machine> byName(const std::vector<Envelope>& envelopes)
{
    std::map<std::string, Machine> machines;
    for (const Envelope& envelope : envelopes)
        machines[envelope.machine][kindNamed(envelope.kind)->name] = &envelope;
    return machines;
}

// Why a side has no document of a kind.
std::string reasonOf(const Envelope* envelope, const char* side)
{
    return envelope ? "failed in " + std::string(side) + (envelope->error ? ": " + envelope->error->name : "")
                    : "not in " + std::string(side);
}

void compareMachines(std::vector<Change>& changes, const std::string& name, const Machine& before, const Machine& after, bool all)
{
    for (const DocumentKind& kind : kDocumentKinds)
    {
        const auto find = [&](const Machine& machine)
        {
            const auto found = machine.find(kind.name);
            return found == machine.end() ? nullptr : found->second;
        };
        const auto has = [](const Envelope* envelope) { return envelope && !envelope->document.is_null(); };
        const Envelope *const left = find(before), *const right = find(after);
        if (has(left) && has(right))
            Comparison(changes, name, std::string(kind.name), all)
                .compareMembers({&left->document, ""}, {&right->document, ""}, {}, {}, nullptr);
        else if (has(left) || has(right))
        {
            Change change{Change::What::incomparable, name, std::string(kind.name), {}, {}, {}, {}, {}, {}, {}};
            change.reason = has(left) ? reasonOf(right, "NEW") : reasonOf(left, "OLD");
            changes.push_back(std::move(change));
        }
    }
}

// A value as people read it, on one line.
std::string shown(const json& value, const std::string& at)
{
    return at.empty() ? "absent" : oneLine(value.dump());
}
}

std::vector<Change> differences(const std::vector<Envelope>& oldOnes, const std::vector<Envelope>& newOnes, bool all)
{
    std::vector<Change> changes;
    auto before = byName(oldOnes), after = byName(newOnes);
    if (before.size() == 1 && after.size() == 1)
    {
        const std::string& name = after.begin()->first.empty() ? before.begin()->first : after.begin()->first;
        compareMachines(changes, name, before.begin()->second, after.begin()->second, all);
        return changes;
    }
    std::set<std::string> names;
    for (const auto* machines : {&before, &after})
        for (const auto& [name, machine] : *machines)
            names.insert(name);
    for (const std::string& name : names)
    {
        if (before.contains(name) && after.contains(name))
            compareMachines(changes, name, before[name], after[name], all);
        else
            changes.push_back(
                {before.contains(name) ? Change::What::removed : Change::What::added, name, {}, {}, {}, {}, {}, {}, {}, {}});
    }
    return changes;
}

std::string asText(const Change& change, bool withMachine)
{
    using enum Change::What;
    std::string line = withMachine ? oneLine(change.machine.empty() ? "(unnamed)" : change.machine) + "  " : "";
    if (change.kind.empty())
        return line + (change.what == added ? "only in NEW" : "only in OLD");
    line += change.kind + "  ";
    switch (change.what)
    {
    case added:
        return line + "+ " + change.record;
    case removed:
        return line + "- " + change.record;
    case incomparable:
        return line + "not comparable: " + oneLine(change.reason);
    case changed:
        break;
    }
    if (!change.record.empty())
        line += change.record + ": ";
    if (!change.key.empty())
        line += oneLine(change.key) + " ";
    return line + shown(change.before, change.oldAt) + " -> " + shown(change.after, change.newAt);
}

json toJson(const Change& change)
{
    const auto orNull = [](const std::string& text) { return text.empty() ? json() : json(text); };
    return {{"change", kNames[static_cast<int>(change.what)]},
            {"machine", change.machine},
            {"kind", orNull(change.kind)},
            {"record", orNull(change.record)},
            {"key", orNull(change.key)},
            {"old", change.before},
            {"oldAt", orNull(change.oldAt)},
            {"new", change.after},
            {"newAt", orNull(change.newAt)},
            {"reason", orNull(change.reason)}};
}
}
