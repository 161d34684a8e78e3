#pragma once

#include "cli/documents/Envelope.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace HardwareInventory
{
// One difference between two inventories.
struct Change
{
    enum class What
    {
        changed, // the value of a key
        added,   // a record, or a whole machine
        removed,
        incomparable // a kind that one side lacks
    };

    What what = What::changed;
    std::string machine;
    std::string kind;         // empty: all of the machine
    std::string record;       // as people call it; empty: the document itself
    std::string key;          // within the record: "osInfo/version"; empty: the record itself
    std::string oldAt, newAt; // JSON pointers into the documents; empty where there is nothing
    nlohmann::json before, after;
    std::string reason; // of what is incomparable
};

// The differences between two sets of envelopes, by machine, kind and record. Of a machine's envelopes of one kind the last counts.
// Where both sets have one machine alone, these two are compared, whatever their names are.
// The keys that change by themselves are compared only if all are asked for.
std::vector<Change> differences(const std::vector<Envelope>& oldOnes, const std::vector<Envelope>& newOnes, bool all);

// One line for a person, without its end. The machine's name is in it if asked for.
std::string asText(const Change& change, bool withMachine);

nlohmann::json toJson(const Change& change);
}
