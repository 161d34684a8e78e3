#include "cli/tools/Fingerprint.h"

#include "cli/documents/Kinds.h"
#include "cli/documents/Text.h"
#include "cli/tools/Identity.h"
#include "st-core/lib/Hash.h"

#include <algorithm>
#include <map>

namespace HardwareInventory
{
namespace
{
using nlohmann::json;

constexpr int kScheme = 1; // of the hashes: it is part of them
constexpr std::string_view kStrengths[] = {"weak", "medium", "strong"};

std::string_view nameOf(Strength strength)
{
    return kStrengths[static_cast<std::size_t>(strength)];
}

// Parts that come and go: on USB, and addresses that a driver draws (the second bit of the first byte says so).
bool comesAndGoes(const json& record, const Part& part)
{
    if (part.list == "disks")
        return comparable(record, "interfaceType") == "USB";
    const std::string address = part.list == "networkAdapters" ? comparable(record, "macAddress") : std::string();
    return address.size() > 1 && std::string_view("26AE").find(address[1]) != std::string_view::npos;
}

// Empty if the record has nothing to be recognised by.
std::string hashOf(const json& record, const Part& part)
{
    const std::string needed = comparable(record, part.needed);
    if (needed.empty() || comesAndGoes(record, part))
        return {};
    std::string message = "hw-inventory " + std::to_string(kScheme) + "\n" + std::string(part.name) + "\n" + needed;
    for (const std::string_view key : part.beside)
        message += "\n" + comparable(record, key);
    return hexadecimal(ZelStdCore::sha256(message));
}

void addComponents(Fingerprint& fingerprint, const json& document)
{
    for (const Part& part : kParts)
    {
        const auto records = document.find(part.list);
        if (records == document.end())
            continue;
        const auto add = [&](const json& record)
        {
            if (std::string hash = hashOf(record, part); !hash.empty())
                fingerprint.components.push_back({&part, std::move(hash)});
        };
        if (records->is_array())
            std::ranges::for_each(*records, add);
        else
            add(*records);
    }
}

// The library leaves out the type and the serial number of a virtual machine.
std::optional<bool> isVirtual(const json& document)
{
    const auto system = document.find("system");
    if (system == document.end() || !system->is_object())
        return std::nullopt;
    return !system->contains("type") && !system->contains("serialNumber");
}

// The rule for a machine, and for what two of them have in common.
Strength strengthOf(std::size_t strong, std::size_t medium, std::optional<bool> isVirtual)
{
    if (isVirtual.value_or(false) || strong + medium < 2)
        return Strength::weak;
    return strong > 0 && strong + medium >= 3 && isVirtual ? Strength::strong : Strength::medium;
}

json orNull(std::optional<bool> value)
{
    return value ? json(*value) : json();
}

std::size_t count(const Fingerprint& fingerprint, Strength strength)
{
    return std::ranges::count(fingerprint.components, strength, [](const auto& each) { return each.part->strength; });
}

std::vector<std::string> hashesOf(const Fingerprint& fingerprint, const Part& part)
{
    std::vector<std::string> hashes;
    for (const auto& component : fingerprint.components)
        if (component.part == &part)
            hashes.push_back(component.hash);
    return hashes;
}
}

std::vector<Fingerprint> fingerprints(const std::vector<Envelope>& envelopes)
{
    std::map<std::string, std::map<std::string_view, const json*>> machines;
    for (const Envelope& envelope : envelopes)
        machines[envelope.machine][kindNamed(envelope.kind)->name] = &envelope.document;
    std::vector<Fingerprint> found;
    for (const auto& [name, documents] : machines)
    {
        Fingerprint& fingerprint = found.emplace_back();
        fingerprint.machine = name;
        for (const auto& [kind, document] : documents)
        {
            addComponents(fingerprint, *document);
            if (const std::optional<bool> answer = isVirtual(*document))
                fingerprint.isVirtual = answer;
        }
        std::ranges::sort(fingerprint.components);
        fingerprint.strength =
            strengthOf(count(fingerprint, Strength::strong), count(fingerprint, Strength::medium), fingerprint.isVirtual);
    }
    return found;
}

json toJson(const Fingerprint& fingerprint)
{
    json components = json::array();
    for (const auto& [part, hash] : fingerprint.components)
        components.push_back({{"name", part->name},
                              {"strength", nameOf(fingerprint.isVirtual.value_or(false) ? Strength::weak : part->strength)},
                              {"hash", hash}});
    return {{"scheme", kScheme},
            {"machine", fingerprint.machine},
            {"virtual", orNull(fingerprint.isVirtual)},
            {"strength", nameOf(fingerprint.strength)},
            {"components", components}};
}

Verdict match(const Fingerprint& left, const Fingerprint& right)
{
    Verdict verdict;
    if (left.isVirtual.value_or(false) || right.isVirtual.value_or(false))
        verdict.isVirtual = true;
    else if (left.isVirtual && right.isVirtual)
        verdict.isVirtual = false;
    std::size_t strong = 0, strongCompared = 0;
    for (const Part& part : kParts)
    {
        const std::vector<std::string> ours = hashesOf(left, part), theirs = hashesOf(right, part);
        if (ours.empty() || theirs.empty())
            continue; // not collected, or withheld: no sign of an exchange
        std::vector<std::string> common;
        std::ranges::set_intersection(ours, theirs, std::back_inserter(common));
        verdict.parts.push_back({&part, common.size(), std::max(ours.size(), theirs.size())});
        if (part.strength == Strength::weak)
            continue;
        verdict.matched += common.size();
        verdict.compared += verdict.parts.back().compared;
        if (part.strength == Strength::strong)
        {
            strong += common.size();
            strongCompared += verdict.parts.back().compared;
        }
    }
    const bool isPartly = verdict.matched >= 2 && (strong > 0 || 2 * verdict.matched >= verdict.compared);
    const bool isSame = verdict.matched == verdict.compared;
    verdict.text = verdict.compared == 0 ? kNotComparable : isSame ? kSameMachine : isPartly ? kPartsExchanged : kOtherMachine;
    verdict.strength = isSame || isPartly ? strengthOf(strong, verdict.matched - strong, verdict.isVirtual)
                                          : strengthOf(strongCompared, verdict.compared - strongCompared, verdict.isVirtual);
    return verdict;
}

json toJson(const Verdict& verdict)
{
    json parts = json::array();
    for (const Agreement& each : verdict.parts)
        parts.push_back({{"name", each.part->name}, {"matched", each.matched}, {"compared", each.compared}});
    return {{"verdict", verdict.text},    {"strength", nameOf(verdict.strength)}, {"virtual", orNull(verdict.isVirtual)},
            {"matched", verdict.matched}, {"compared", verdict.compared},         {"components", parts}};
}

std::string asText(const Verdict& verdict)
{
    const auto share = [](std::size_t matched, std::size_t compared)
    { return std::to_string(matched) + " of " + std::to_string(compared); };
    std::string text = std::string(verdict.text) + " (" + std::string(nameOf(verdict.strength)) +
                       (verdict.isVirtual.value_or(false) ? ", virtual" : "") + "): " + share(verdict.matched, verdict.compared) +
                       " components match\n";
    for (const Agreement& each : verdict.parts)
        text += "  " + std::string(each.part->name) + std::string(17 - each.part->name.size(), ' ') +
                share(each.matched, each.compared) + (each.part->strength == Strength::weak ? ", not counted" : "") + "\n";
    return text;
}
}
