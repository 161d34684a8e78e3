#pragma once

#include "cli/documents/Envelope.h"

#include <nlohmann/json.hpp>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace HardwareInventory
{
enum class Strength
{
    weak,   // a model alone, or what a virtual machine is made of: many machines share it
    medium, // a part, which can move to another machine
    strong  // what a machine keeps as long as it is the same
};

// A part of the machine, and which of its keys are hashed.
struct Part
{
    std::string_view name;
    std::string_view list; // the key that has the records, or the one record
    Strength strength;
    std::string_view needed;                // a record without it is left out: it is what tells machines apart
    std::array<std::string_view, 2> beside; // tells equal numbers apart; nothing that depends on the PCI ID list
};

inline constexpr auto kParts = std::to_array<Part>({
    {"system", "system", Strength::strong, "serialNumber", {"manufacturer", "model"}},
    {"base-board", "motherBoards", Strength::strong, "serialNumber", {"manufacturer", "model"}},
    {"disk", "disks", Strength::medium, "serialNumber", {"", ""}},
    {"memory-module", "rams", Strength::medium, "serialNumber", {"", ""}},
    {"network-adapter", "networkAdapters", Strength::medium, "macAddress", {"", ""}},
    {"video-adapter", "gpus", Strength::medium, "serialNumber", {"deviceID", ""}},
    {"processor", "cpus", Strength::weak, "processorID", {"name", ""}},
});

// What a machine is recognised by: a hash for each part, never one for all, so that an exchanged part does not change the others.
struct Fingerprint
{
    struct Component
    {
        const Part* part;
        std::string hash; // hexadecimal
        auto operator<=>(const Component&) const = default;
    };

    std::string machine;           // its name; empty if unknown
    std::optional<bool> isVirtual; // unknown without the document of the system
    Strength strength = Strength::weak;
    std::vector<Component> components; // in the order of kParts, then of the hashes
};

// One for each machine, by name. Of a machine's envelopes of one kind the last counts.
std::vector<Fingerprint> fingerprints(const std::vector<Envelope>& envelopes);

nlohmann::json toJson(const Fingerprint& fingerprint);

// How many components of a part two fingerprints have in common, out of those of the one that has more.
struct Agreement
{
    const Part* part;
    std::size_t matched;
    std::size_t compared;
};

struct Verdict
{
    std::string_view text;
    Strength strength = Strength::weak;    // of the evidence
    std::optional<bool> isVirtual;         // true if one of them is
    std::size_t matched = 0, compared = 0; // without the weak ones
    std::vector<Agreement> parts;          // those that both have
};

inline constexpr std::string_view kSameMachine = "same machine";
inline constexpr std::string_view kPartsExchanged = "parts exchanged";
inline constexpr std::string_view kOtherMachine = "other machine";
inline constexpr std::string_view kNotComparable = "not comparable";

Verdict match(const Fingerprint& left, const Fingerprint& right);

nlohmann::json toJson(const Verdict& verdict);
std::string asText(const Verdict& verdict);
}
