#pragma once

#include <nlohmann/json.hpp>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace HardwareInventory
{
// How a record of one inventory is found again in another one. Keys that a row has no use for are empty.
struct RecordRules
{
    std::string_view list;                  // the key that has the records
    std::string_view unique;                // a serial number or an address: two different ones are never the same record
    std::array<std::string_view, 2> places; // compared in this order where a record has no such value
    std::string_view shown;                 // what people call it; else the first of the places
    std::string_view ignored;               // changes by itself, or with the place in the list
};

inline constexpr auto kRecordRules = std::to_array<RecordRules>({
    {"cpus", "", {"socketDesignation", "name"}, "name", ""},
    {"gpus", "serialNumber", {"pciAddress", "name"}, "name", "temperature"},
    {"rams", "serialNumber", {"deviceLocator", "name"}, "deviceLocator", "name"},
    {"disks", "serialNumber", {"name", ""}, "model", "availableSpace"},
    {"partitions", "", {"name", ""}, "name", "availableSpace"},
    {"networkAdapters", "macAddress", {"name", ""}, "name", "ipAddresses"},
    {"motherBoards", "serialNumber", {"model", "name"}, "model", ""},
    {"system", "", {"", ""}, "", "bootTime"}, // one record, not a list
    {"hotfixes", "", {"name", ""}, "name", ""},
});

// The rules for what a key has; null if its value is none of the above.
const RecordRules* rulesFor(std::string_view list);

// The table, for other programs.
nlohmann::json rulesAsJson();

// A text in the form in which two are compared: without white space around it, ASCII letters in capitals. Empty for one that stands
// for none, and for what is no text.
std::string comparable(const nlohmann::json& record, std::string_view key);

// The records of two lists in pairs, in the order of the first list; then those that only the second one has. A pair is of equal
// unique values, else of an equal place, else of two records without any of them. Of several that would do, the first is taken.
using Pair = std::pair<std::optional<std::size_t>, std::optional<std::size_t>>;
std::vector<Pair> pairs(const nlohmann::json& oldRecords, const nlohmann::json& newRecords, const RecordRules& rules);

// What people call a record: "SSD 970 EVO 500GB (DISK-1)".
std::string labelOf(const nlohmann::json& record, const RecordRules& rules, std::size_t index);
}
