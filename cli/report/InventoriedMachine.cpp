#include "cli/report/InventoriedMachine.h"

#include "bindings/cpp/hw_inventory.hpp"
#include "cli/report/Fields.h"
#include "cli/report/Values.h"

#include <algorithm>
#include <map>

namespace HardwareInventory
{
namespace
{
using hw_inventory::Kind;
using nlohmann::json;

std::size_t indexOf(const Envelope& envelope)
{
    return static_cast<std::size_t>(kindNamed(envelope.kind) - kDocumentKinds.data());
}

// Of a kind that was collected; else none.
std::vector<const json*> recordsOf(const InventoriedMachine& machine, Kind kind)
{
    const auto index = static_cast<std::size_t>(kind);
    const Envelope* const envelope = machine.kinds[index];
    return envelope && !envelope->document.is_null() ? recordsOf(envelope->document, kDocumentKinds[index])
                                                     : std::vector<const json*>();
}

const json& systemOf(const InventoriedMachine& machine)
{
    static const json null;
    const auto records = recordsOf(machine, Kind::system);
    return records.empty() ? null : *records.front();
}

// "ACME Roadrunner 9", and not "ACME ACME Roadrunner 9".
std::string joined(const std::string& manufacturer, const std::string& model)
{
    return manufacturer.empty() || model.starts_with(manufacturer) ? model
           : model.empty()                                         ? manufacturer
                                                                   : manufacturer + " " + model;
}

// The digits that a text begins with, without zeros before them.
std::string_view leadingNumber(std::string_view text)
{
    const std::string_view digits = text.substr(0, std::min(text.find_first_not_of("0123456789"), text.size()));
    return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

// "HOST-9" comes before "HOST-10".
bool comesBefore(std::string_view left, std::string_view right)
{
    const auto isDigit = [](char letter) { return letter >= '0' && letter <= '9'; };
    std::size_t same = 0;
    while (same < std::min(left.size(), right.size()) && left[same] == right[same])
        ++same;
    std::size_t number = same; // where the number begins in which they differ
    while (number > 0 && isDigit(left[number - 1]))
        --number;
    const std::string_view leftNumber = leadingNumber(left.substr(number)), rightNumber = leadingNumber(right.substr(number));
    if (!leftNumber.empty() && !rightNumber.empty() && leftNumber != rightNumber)
        return std::pair(leftNumber.size(), leftNumber) < std::pair(rightNumber.size(), rightNumber);
    return left.substr(same) < right.substr(same);
}

std::string processorsOf(const InventoriedMachine& machine)
{
    std::map<std::string, std::size_t> names;
    for (const json* cpu : recordsOf(machine, Kind::cpus))
        ++names[textOf(*cpu, "name")];
    names.erase("");
    std::string text;
    for (const auto& [name, count] : names)
        text += (text.empty() ? "" : ", ") + (count > 1 ? std::to_string(count) + " \u00D7 " : "") + name;
    return text;
}
}

std::vector<InventoriedMachine> machinesOf(std::span<const Envelope> envelopes)
{
    std::vector<InventoriedMachine> machines;
    std::map<std::string, std::size_t, std::less<>> byId;
    std::size_t unnamed = 0; // the last of them, from 1
    for (const Envelope& envelope : envelopes)
    {
        const std::size_t kind = indexOf(envelope);
        std::size_t& place = envelope.machine.empty() ? unnamed : byId[envelope.machine];
        if (place == 0 || (envelope.machine.empty() && machines[place - 1].kinds[kind]))
        {
            machines.push_back({envelope.machine, "", {}});
            place = machines.size();
        }
        const Envelope*& newest = machines[place - 1].kinds[kind];
        if (!newest || newest->collected <= envelope.collected)
            newest = &envelope;
    }
    std::size_t number = 0;
    for (InventoriedMachine& machine : machines)
    {
        ++number;
        machine.id = printable(machine.id);
        machine.name = textOf(systemOf(machine), "machineName");
        if (machine.name.empty())
            machine.name = machine.id.empty() ? "Machine " + std::to_string(number) : machine.id;
    }
    std::ranges::stable_sort(machines, comesBefore, &InventoriedMachine::name);
    return machines;
}

MachineFacts factsOf(const InventoriedMachine& machine)
{
    MachineFacts facts;
    const json& system = systemOf(machine);
    const json& os = memberOf(system, "osInfo");
    facts.model = joined(textOf(system, "manufacturer"), textOf(system, "model"));
    facts.serialNumber = textOf(system, "serialNumber");
    facts.system = printable(textOf(os, "name") + " " + textOf(os, "releaseId"));
    facts.processors = processorsOf(machine);
    for (const json* module : recordsOf(machine, Kind::ram))
        facts.memory += facts.slots.emplace_back(sizeOf(*module, "capacity"));
    if (const Envelope* const memory = machine.kinds[static_cast<std::size_t>(Kind::ram)])
        facts.usableMemory = sizeOf(memory->document, "usableMemory");
    for (const json* disk : recordsOf(machine, Kind::disks))
    {
        const std::uint64_t size = sizeOf(*disk, "size");
        facts.disks += size;
        facts.used += size - std::min(size, sizeOf(*disk, "availableSpace"));
    }
    for (const Envelope* envelope : machine.kinds)
    {
        if (!envelope)
            continue;
        facts.collected = std::max(facts.collected, printable(envelope->collected));
        if (envelope->document.is_null())
            facts.failures.push_back(envelope);
        else
            for (const json* record : recordsOf(envelope->document, *kindNamed(envelope->kind)))
                facts.issues += textOf(*record, "status") == "has issues";
    }
    return facts;
}
}
