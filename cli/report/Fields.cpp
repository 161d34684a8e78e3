#include "cli/report/Fields.h"

#include "cli/documents/Schemas.h"
#include "cli/report/Values.h"

#include <algorithm>
#include <cctype>

namespace HardwareInventory
{
namespace
{
using nlohmann::json;
using enum Shown;

constexpr auto kCpus = std::to_array<Field>({
    {"name", everywhere},
    {"model", nowhere},
    {"cores", everywhere},
    {"maxClockSpeed", everywhere},
    {"socketDesignation", everywhere},
    {"manufacturer", page},
    {"processorID", page},
    {"status", everywhere},
});
constexpr auto kGpus = std::to_array<Field>({
    {"name", everywhere},
    {"manufacturer", everywhere},
    {"model", page},
    {"deviceID", page},
    {"pciAddress", everywhere},
    {"serialNumber", page},
    {"temperature", everywhere},
    {"status", everywhere},
});
constexpr auto kRam = std::to_array<Field>({
    {"deviceLocator", everywhere},
    {"name", everywhere},
    {"capacity", everywhere},
    {"manufacturer", everywhere},
    {"model", page},
    {"serialNumber", everywhere},
});
constexpr auto kDisks = std::to_array<Field>({
    {"name", everywhere},
    {"manufacturer", page},
    {"model", everywhere},
    {"mediaType", everywhere},
    {"interfaceType", everywhere},
    {"serialNumber", everywhere},
    {"size", everywhere},
    {"availableSpace", everywhere},
    {"partitions", page},
    {"status", everywhere},
});
constexpr auto kNetworkAdapters = std::to_array<Field>({
    {"name", everywhere},
    {"manufacturer", page},
    {"model", everywhere},
    {"type", page},
    {"macAddress", everywhere},
    {"ipAddresses", everywhere},
    {"deviceID", page},
    {"status", everywhere},
});
constexpr auto kBaseBoards = std::to_array<Field>({
    {"name", page},
    {"manufacturer", everywhere},
    {"model", everywhere},
    {"serialNumber", everywhere},
    {"status", everywhere},
});
constexpr auto kSystem = std::to_array<Field>({
    {"machineName", everywhere},     {"manufacturer", everywhere}, {"model", everywhere},
    {"productID", everywhere},       {"serialNumber", everywhere}, {"type", everywhere},
    {"biosVersion", everywhere},     {"osInfo", everywhere},       {"installationDate", everywhere},
    {"bootTime", everywhere},        {"domain", everywhere},       {"workgroup", everywhere},
    {"logonServer", everywhere},     {"owner", everywhere},        {"organization", everywhere},
    {"timezone", everywhere},        {"systemLocale", everywhere}, {"windowsDirectory", everywhere},
    {"systemDirectory", everywhere}, {"bootDevice", everywhere},
});
constexpr auto kHotfixes = std::to_array<Field>({
    {"name", everywhere},
    {"installationDate", everywhere},
});

constexpr std::array<std::span<const Field>, kDocumentKinds.size()> kFields = {
    kCpus, kGpus, kRam, kDisks, kNetworkAdapters, kBaseBoards, kSystem, kHotfixes};

const json& resolved(const json& schema, const json& root)
{
    const json& reference = memberOf(schema, "$ref");
    return reference.is_string() ? root.at(json::json_pointer(reference.get<std::string>().substr(1))) : schema;
}

// The schemas of the keys of a record, or of each record of a list, by the schema of the record or list.
const json& propertiesOf(const DocumentKind& kind, const json& schema)
{
    const json& root = schemaOf(kind);
    const json& items = memberOf(schema, "items");
    return memberOf(resolved(items.is_null() ? schema : items, root), "properties");
}

const json& propertiesOf(const DocumentKind& kind)
{
    return propertiesOf(kind, schemaOf(kind).at("properties").at(std::string(kind.key)));
}

// "Operating system" and "Name" as the former, "Operating system" and "Version" as "Operating system version".
std::string within(std::string label, const Member& member)
{
    if (member.label == "Name")
        return label;
    std::string inner = " " + member.label;
    if (inner.size() > 2 && inner[2] >= 'a') // no abbreviation
        inner[1] = static_cast<char>(std::tolower(static_cast<unsigned char>(inner[1])));
    return label + inner;
}
}

std::span<const Field> fieldsOf(const DocumentKind& kind)
{
    return kFields[static_cast<std::size_t>(&kind - kDocumentKinds.data())];
}

std::vector<const json*> recordsOf(const json& document, const DocumentKind& kind)
{
    const json& records = memberOf(document, kind.key);
    if (!records.is_array())
        return {&records};
    std::vector<const json*> each;
    for (const json& record : records)
        each.push_back(&record);
    return each;
}

std::vector<Column> columnsOf(const DocumentKind& kind, std::span<const json* const> records, Shown least)
{
    const json& properties = propertiesOf(kind);
    std::vector<Column> columns;
    const auto add = [&](std::string_view key)
    {
        const auto has = [key](const json* record) { return record->is_object() && record->contains(key); };
        if (std::ranges::any_of(records, has))
            columns.push_back({std::string(key), &memberOf(properties, key)});
    };
    const std::span<const Field> fields = fieldsOf(kind);
    for (const Field& field : fields)
        if (field.shown <= least)
            add(field.key);
    if (least < page)
        return columns;
    for (const json* record : records)
        for (auto member = record->begin(); record->is_object() && member != record->end(); ++member)
            if (const std::string& key = member.key(); std::ranges::find(fields, key, &Field::key) == fields.end() &&
                                                       std::ranges::find(columns, key, &Column::key) == columns.end())
                add(key);
    return columns;
}

std::vector<Member> membersOf(const DocumentKind& kind, const json& record, const json& schema)
{
    constexpr auto kFirst = std::to_array<std::string_view>({"name", "version", "releaseId", "size", "availableSpace"});
    const json& properties = propertiesOf(kind, schema);
    std::vector<Member> members;
    const auto add = [&](const std::string& key, const json& value) {
        members.push_back({labelOf(memberOf(properties, key), key), &value, &memberOf(properties, key)});
    };
    for (const std::string_view key : kFirst)
        if (record.contains(key))
            add(std::string(key), memberOf(record, key));
    for (const auto& [key, value] : record.items())
        if (std::ranges::find(kFirst, key) == kFirst.end())
            add(key, value);
    return members;
}

std::vector<Line> linesOf(const DocumentKind& kind, const json& record, Shown least)
{
    std::vector<Line> lines;
    const json* const only[] = {&record};
    for (const Column& column : columnsOf(kind, only, least))
    {
        const json& value = memberOf(record, column.key);
        const std::string label = labelOf(*column.schema, column.key);
        if (!value.is_object())
            lines.push_back({label, shownValue(value, *column.schema)});
        else
            for (const Member& member : membersOf(kind, value, *column.schema))
                lines.push_back({within(label, member), shownValue(*member.value, *member.schema)});
    }
    return lines;
}

std::vector<Line> besideRecords(const json& document, const DocumentKind& kind)
{
    std::vector<Line> lines;
    for (const auto& [key, value] : document.items())
    {
        const json& schema = memberOf(schemaOf(kind).at("properties"), key);
        if (key != kind.key)
            lines.push_back({labelOf(schema, key), shownValue(value, schema)});
    }
    return lines;
}
}
