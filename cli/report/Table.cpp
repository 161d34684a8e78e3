#include "cli/report/Table.h"

#include "cli/documents/Schemas.h"
#include "cli/report/DisplayWidth.h"
#include "cli/report/Fields.h"
#include "cli/report/InventoriedMachine.h"
#include "cli/report/Values.h"

#include <algorithm>
#include <numeric>

namespace HardwareInventory
{
namespace
{
using nlohmann::json;

constexpr std::size_t kGap = 2;       // columns between two cells
constexpr std::size_t kNarrowest = 8; // a cell is not cut below this width

// SGR parameters
constexpr const char* kBold = "1";
constexpr const char* kFaint = "2";
constexpr const char* kRed = "31";
constexpr const char* kYellow = "33";

struct Cell
{
    std::string text;
    bool number = false;
};
using Row = std::vector<Cell>;

// As many spaces as a text lacks.
std::string padding(std::string_view text, std::size_t width)
{
    return std::string(width - std::min(width, displayWidth(text)), ' ');
}

class Printer
{
public:
    explicit Printer(const TableStyle& style) : style_(style) {}

    void machine(const InventoriedMachine& machine, bool named);
    std::string take() { return std::move(text_); }

private:
    void kind(const DocumentKind& kind, const Envelope& envelope);
    void document(const DocumentKind& kind, const json& document);
    void table(const DocumentKind& kind, std::span<const json* const> records);
    void lines(const std::vector<Line>& lines);
    void rows(const Row& head, const std::vector<Row>& rows);
    void row(const Row& row, std::span<const std::size_t> widths, const char* colour);
    std::vector<std::size_t> widthsOf(const Row& head, const std::vector<Row>& rows) const;
    std::string coloured(std::string_view text, const char* colour) const;
    void line(const std::string& text) { text_ += text + "\n"; }

    TableStyle style_;
    std::string text_;
};

std::string Printer::coloured(std::string_view text, const char* colour) const
{
    return style_.colours && colour ? "\x1b[" + std::string(colour) + "m" + std::string(text) + "\x1b[0m" : std::string(text);
}

void Printer::machine(const InventoriedMachine& machine, bool named)
{
    if (named)
    {
        const std::string id = machine.id.empty() || machine.id == machine.name ? "" : "  " + machine.id;
        line((text_.empty() ? "" : "\n") + coloured("== " + machine.name + id, kBold));
    }
    for (const auto each : kShownOrder)
    {
        const auto index = static_cast<std::size_t>(each);
        if (machine.kinds[index])
            kind(kDocumentKinds[index], *machine.kinds[index]);
    }
}

void Printer::kind(const DocumentKind& kind, const Envelope& envelope)
{
    line((text_.empty() ? "" : "\n") + coloured(textOf(schemaOf(kind), "title"), kBold));
    if (envelope.error)
        line(coloured(printable(envelope.error->name), kRed) + ": " + printable(envelope.error->text));
    if (!envelope.document.is_null())
        document(kind, envelope.document);
}

void Printer::document(const DocumentKind& kind, const json& document)
{
    if (memberOf(document, kind.key).is_object())
        lines(linesOf(kind, memberOf(document, kind.key), Shown::everywhere));
    else if (const auto records = recordsOf(document, kind); records.empty())
        line("none");
    else
        table(kind, records);
    for (const auto& [label, value] : besideRecords(document, kind))
        line(std::string(label).append(": ").append(value));
}

void Printer::table(const DocumentKind& kind, std::span<const json* const> records)
{
    const std::vector<Column> columns = columnsOf(kind, records, Shown::everywhere);
    Row head;
    for (const Column& column : columns)
    {
        const auto isNumber = [&](const json* record) { return memberOf(*record, column.key).is_number(); };
        head.push_back({labelOf(*column.schema, column.key), std::ranges::any_of(records, isNumber)});
    }
    std::vector<Row> table;
    for (const json* record : records)
    {
        Row& row = table.emplace_back();
        if (!record->is_object() || columns.empty())
            row.push_back({record->is_null() ? "nothing is known of this one" : shownValue(*record, json())});
        else
            for (const Column& column : columns)
                row.push_back({record->contains(column.key) ? shownValue(record->at(column.key), *column.schema) : "-",
                               head[row.size()].number});
    }
    rows(head, table);
}

void Printer::lines(const std::vector<Line>& lines)
{
    std::size_t width = 0;
    for (const auto& [label, value] : lines)
        width = std::max(width, displayWidth(label));
    for (const auto& [label, value] : lines)
        line(coloured(label, kFaint) + padding(label, width + kGap) + value);
}

// Where a line would be longer than the terminal is wide, the widest columns give way.
std::vector<std::size_t> Printer::widthsOf(const Row& head, const std::vector<Row>& rows) const
{
    std::vector<std::size_t> widths;
    for (const Cell& cell : head)
        widths.push_back(displayWidth(cell.text));
    for (const Row& row : rows)
        for (std::size_t index = 0; row.size() == head.size() && index < row.size(); ++index)
            widths[index] = std::max(widths[index], displayWidth(row[index].text));
    if (widths.empty() || style_.width == 0)
        return widths;
    std::size_t whole = std::accumulate(widths.begin(), widths.end(), kGap * (widths.size() - 1));
    for (auto widest = std::ranges::max_element(widths); whole > style_.width && *widest > kNarrowest; --whole)
    {
        --*widest;
        widest = std::ranges::max_element(widths);
    }
    return widths;
}

void Printer::rows(const Row& head, const std::vector<Row>& rows)
{
    const std::vector<std::size_t> widths = widthsOf(head, rows);
    if (!head.empty())
        row(head, widths, kFaint);
    for (const Row& each : rows)
        row(each, widths, nullptr);
}

void Printer::row(const Row& row, std::span<const std::size_t> widths, const char* colour)
{
    std::string text;
    for (std::size_t index = 0; index < row.size(); ++index)
    {
        const bool last = index + 1 == row.size();
        const std::string cell = row.size() == widths.size() ? cutToWidth(row[index].text, widths[index]) : row[index].text;
        const std::string space = row.size() == widths.size() ? padding(cell, widths[index]) : "";
        const std::string shown = coloured(cell, cell == "has issues" ? kYellow : colour);
        text += row[index].number ? space + shown : last ? shown : shown + space;
        if (!last)
            text += std::string(kGap, ' ');
    }
    line(text);
}
}

std::string table(std::span<const Envelope> envelopes, const TableStyle& style)
{
    Printer printer(style);
    const std::vector<InventoriedMachine> machines = machinesOf(envelopes);
    for (const InventoriedMachine& machine : machines)
        printer.machine(machine, machines.size() > 1);
    return printer.take();
}
}
