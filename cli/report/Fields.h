#pragma once

#include "cli/documents/Kinds.h"

#include <span>
#include <string_view>
#include <vector>

namespace HardwareInventory
{
// Where a key of a record is shown.
enum class Shown
{
    everywhere, // on a page, and in the table for a terminal
    page,
    nowhere // it repeats another key
};

struct Field
{
    std::string_view key;
    Shown shown;
};

// The order in which people want the kinds.
inline constexpr std::array<hw_inventory::Kind, kDocumentKinds.size()> kShownOrder = {hw_inventory::Kind::system,
                                                                                      hw_inventory::Kind::base_boards,
                                                                                      hw_inventory::Kind::cpus,
                                                                                      hw_inventory::Kind::ram,
                                                                                      hw_inventory::Kind::gpus,
                                                                                      hw_inventory::Kind::disks,
                                                                                      hw_inventory::Kind::network_adapters,
                                                                                      hw_inventory::Kind::hotfixes};

// The keys of a kind's records in the order in which people want them. A key that is not listed comes last, on pages alone.
std::span<const Field> fieldsOf(const DocumentKind& kind);

// The records of a document, one for the system. A document that has something else there counts as a record of it.
std::vector<const nlohmann::json*> recordsOf(const nlohmann::json& document, const DocumentKind& kind);

// A key that some record has, with its schema, which is null if the schemas have no such key.
struct Column
{
    std::string key;
    const nlohmann::json* schema;
};
std::vector<Column> columnsOf(const DocumentKind& kind, std::span<const nlohmann::json* const> records, Shown least);

// A member of a record within a record.
struct Member
{
    std::string label;
    const nlohmann::json* value;
    const nlohmann::json* schema;
};
std::vector<Member> membersOf(const DocumentKind& kind, const nlohmann::json& record, const nlohmann::json& schema);

// Labels and shown values of a record that is read line by line, those of the records within it too.
struct Line
{
    std::string label;
    std::string value;
};
std::vector<Line> linesOf(const DocumentKind& kind, const nlohmann::json& record, Shown least);

// What a document has beside its records.
std::vector<Line> besideRecords(const nlohmann::json& document, const DocumentKind& kind);
}
