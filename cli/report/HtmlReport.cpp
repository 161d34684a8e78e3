#include "cli/report/HtmlReport.h"

#include "cli/documents/Schemas.h"
#include "cli/report/Assets.h"
#include "cli/report/Fields.h"
#include "cli/report/InventoriedMachine.h"
#include "cli/report/Markup.h"
#include "cli/report/Values.h"

#include <algorithm>
#include <cmath>

namespace HardwareInventory
{
namespace
{
using nlohmann::json;

constexpr std::size_t kMostOpen = 10; // a page with more machines begins with all of them closed
constexpr unsigned kNearlyFull = 90;  // per cent

std::string plural(std::size_t count, const std::string& noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

unsigned percentOf(std::uint64_t part, std::uint64_t whole)
{
    return whole == 0 ? 0 : static_cast<unsigned>(std::lround(100.0 * static_cast<double>(part) / static_cast<double>(whole)));
}

bool hasRecords(const json& value)
{
    return value.is_array() && std::ranges::any_of(value, &json::is_object);
}

// "2026-11-22T10:30:00Z" as "2026-11-22 10:30:00 UTC"
std::string shownTime(std::string time)
{
    if (time.size() < 20 || time[10] != 'T' || time.back() != 'Z')
        return time;
    time[10] = ' ';
    time.replace(time.size() - 1, 1, " UTC");
    return time;
}

// A page about some machines, written from its top to its end. Drawings are SVG: a browser prints them as they are, and their sizes
// are attributes, which the policy lets pass.
class Page
{
public:
    explicit Page(std::span<const InventoriedMachine> machines) : machines_(machines) {}
    std::string write();

private:
    void head(const std::string& title, const std::string& style, const std::string& script);
    void header(const std::string& title);
    void overview();
    void overviewRow(std::size_t number, const MachineFacts& facts);
    void machine(std::size_t number);
    void factCards(const MachineFacts& facts);
    void kind(const std::string& id, const DocumentKind& kind, const Envelope& envelope);
    void pairs(std::span<const Line> lines);
    void failure(const Envelope::Failure& failure);
    void table(const std::string& heading, const DocumentKind& kind, std::span<const json* const> records);
    void row(const json& record, std::span<const Column> columns);
    void cell(const Column& column, const json& record);
    void innerRow(const DocumentKind& kind, const Column& column, const json& records, std::size_t width);
    void value(const json& value, const json& schema);
    void bar(unsigned percent);
    void diskBar(std::uint64_t used, std::uint64_t size);
    void slots(const std::vector<std::uint64_t>& capacities);
    void problems(const MachineFacts& facts);
    void time(const std::string& time);
    void fact(std::string_view label, const std::string& text);

    std::span<const InventoriedMachine> machines_;
    Markup html_;
};

std::string Page::write()
{
    const std::string title =
        "Hardware inventory of " + (machines_.size() == 1 ? machines_[0].name : plural(machines_.size(), "machine"));
    html_.verbatim("<!DOCTYPE html>\n");
    {
        const auto html = html_.element("html", {{"lang", "en"}});
        const std::string style = reportStyle(), script = reportScript();
        head(title, style, script);
        const auto body = html_.element("body");
        header(title);
        {
            const auto main = html_.element("main");
            if (machines_.size() > 1)
                overview();
            for (std::size_t number = 0; number < machines_.size(); ++number)
                machine(number);
        }
        const auto element = html_.element("script");
        html_.verbatim(script);
    }
    html_.line();
    return html_.take();
}

void Page::head(const std::string& title, const std::string& style, const std::string& script)
{
    const std::string policy = "default-src 'none'; style-src " + policySource(style) + "; script-src " + policySource(script) +
                               "; base-uri 'none'; form-action 'none'";
    const auto head = html_.element("head");
    html_.voidElement("meta", {{"charset", "utf-8"}});
    html_.voidElement("meta", {{"http-equiv", "Content-Security-Policy"}, {"content", policy}});
    html_.voidElement("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
    html_.voidElement("meta", {{"name", "color-scheme"}, {"content", "light dark"}});
    html_.leaf("title", title);
    const auto element = html_.element("style");
    html_.verbatim(style);
}

void Page::header(const std::string& title)
{
    const auto header = html_.element("header");
    html_.leaf("h1", title);
    // The script shows it.
    const auto search = html_.element("div", {{"role", "search"}, {"hidden", ""}});
    html_.leaf("label", "Search", {{"for", "q"}});
    html_.voidElement("input", {{"id", "q"}, {"type", "search"}, {"autocomplete", "off"}, {"spellcheck", "false"}});
    html_.leaf("output", "", {{"for", "q"}});
}

void Page::overview()
{
    const auto section = html_.element("section", {{"id", "overview"}, {"aria-labelledby", "machines"}});
    html_.leaf("h2", "Machines", {{"id", "machines"}});
    const auto scroll = html_.element("div", {{"class", "wide"}});
    const auto table = html_.element("table", {{"aria-labelledby", "machines"}});
    {
        const auto head = html_.element("thead");
        const auto row = html_.element("tr");
        for (const char* label : {"Name", "Model", "System", "Processors", "Memory", "Disks", "Collected", "Problems"})
            html_.leaf("th", label, {{"scope", "col"}});
    }
    const auto body = html_.element("tbody");
    for (std::size_t number = 0; number < machines_.size(); ++number)
        overviewRow(number, factsOf(machines_[number]));
}

void Page::overviewRow(std::size_t number, const MachineFacts& facts)
{
    html_.line();
    const auto row = html_.element("tr");
    {
        const auto head = html_.element("th", {{"scope", "row"}});
        html_.leaf("a", machines_[number].name, {{"href", "#m" + std::to_string(number + 1)}});
    }
    html_.leaf("td", facts.model, {{"data-label", "Model"}});
    html_.leaf("td", facts.system, {{"data-label", "System"}});
    html_.leaf("td", facts.processors, {{"data-label", "Processors"}});
    html_.leaf("td", facts.memory ? shownSize(facts.memory) : "", {{"data-label", "Memory"}});
    {
        const auto disks = html_.element("td", {{"data-label", "Disks"}});
        diskBar(facts.used, facts.disks);
    }
    {
        const auto collected = html_.element("td", {{"data-label", "Collected"}});
        time(facts.collected);
    }
    const auto cell = html_.element("td", {{"data-label", "Problems"}});
    problems(facts);
}

void Page::problems(const MachineFacts& facts)
{
    if (!facts.failures.empty())
        html_.leaf("span", plural(facts.failures.size(), "kind") + " failed", {{"class", "bad"}});
    if (!facts.failures.empty() && facts.issues)
        html_.text(", ");
    if (facts.issues)
        html_.leaf("span", plural(facts.issues, "device") + (facts.issues == 1 ? " has" : " have") + " issues",
                   {{"class", "warn"}});
}

// The id is on what stands within the details, since a browser opens those in which a link's goal is.
void Page::machine(std::size_t number)
{
    const InventoriedMachine& machine = machines_[number];
    const std::string id = "m" + std::to_string(number + 1);
    const MachineFacts facts = factsOf(machine);
    html_.line();
    const auto details = machines_.size() > kMostOpen ? html_.element("details", {{"class", "machine"}})
                                                      : html_.element("details", {{"class", "machine"}, {"open", ""}});
    {
        const auto summary = html_.element("summary");
        html_.leaf("h2", machine.name);
        if (!machine.id.empty() && machine.id != machine.name)
            html_.leaf("span", machine.id, {{"class", "quiet"}});
        if (!facts.collected.empty())
        {
            const auto collected = html_.element("span", {{"class", "quiet"}});
            time(facts.collected);
        }
        problems(facts);
    }
    const auto content = html_.element("div", {{"id", id}});
    factCards(facts);
    for (const auto each : kShownOrder)
    {
        const DocumentKind& shown = kDocumentKinds[static_cast<std::size_t>(each)];
        if (const Envelope* const envelope = machine.kinds[static_cast<std::size_t>(each)])
            kind(id + "-" + std::string(shown.name), shown, *envelope);
    }
}

void Page::fact(std::string_view label, const std::string& text)
{
    if (text.empty())
        return;
    const auto pair = html_.element("div");
    html_.leaf("dt", label);
    html_.leaf("dd", text);
}

void Page::factCards(const MachineFacts& facts)
{
    const auto list = html_.element("dl", {{"class", "facts"}});
    fact("Model", facts.model);
    fact("Serial number", facts.serialNumber);
    fact("Operating system", facts.system);
    fact("Processors", facts.processors);
    if (facts.memory)
    {
        const auto pair = html_.element("div");
        html_.leaf("dt", "Memory");
        const auto content = html_.element("dd");
        slots(facts.slots);
        const auto filled =
            static_cast<std::size_t>(std::ranges::count_if(facts.slots, [](std::uint64_t size) { return size != 0; }));
        html_.text(shownSize(facts.memory) + " in " + plural(filled, "module"));
        if (facts.usableMemory)
            html_.text(", " + shownSize(facts.usableMemory) + " usable");
    }
    if (facts.disks)
    {
        const auto pair = html_.element("div");
        html_.leaf("dt", "Disks");
        const auto content = html_.element("dd");
        diskBar(facts.used, facts.disks);
    }
}

void Page::time(const std::string& time)
{
    if (!time.empty())
        html_.leaf("time", shownTime(time), {{"datetime", time}});
}

void Page::bar(unsigned percent)
{
    const auto drawing = html_.element(
        "svg", {{"class", "bar"}, {"viewBox", "0 0 100 8"}, {"preserveAspectRatio", "none"}, {"aria-hidden", "true"}});
    html_.leaf("rect", "", {{"class", "track"}, {"width", "100"}, {"height", "8"}});
    const std::string_view colour = percent >= kNearlyFull ? "full" : "used";
    html_.leaf("rect", "", {{"class", colour}, {"width", std::to_string(percent)}, {"height", "8"}});
}

void Page::diskBar(std::uint64_t used, std::uint64_t size)
{
    if (size == 0)
        return;
    bar(percentOf(used, size));
    html_.text(shownSize(used) + " of " + shownSize(size) + " used");
}

// A block for each slot, as high as its module is large; an empty slot is an outline.
void Page::slots(const std::vector<std::uint64_t>& capacities)
{
    const std::uint64_t largest = std::ranges::max(capacities);
    const std::string width = std::to_string(capacities.size() * 12);
    const auto drawing = html_.element(
        "svg",
        {{"class", "slots"}, {"viewBox", "0 0 " + width + " 24"}, {"width", width}, {"height", "24"}, {"aria-hidden", "true"}});
    for (std::size_t slot = 0; slot < capacities.size(); ++slot)
    {
        const unsigned height = percentOf(capacities[slot], largest) * 22 / 100;
        const std::string left = std::to_string(slot * 12 + 1);
        html_.leaf("rect", "", {{"class", "slot"}, {"x", left}, {"y", "1"}, {"width", "9"}, {"height", "22"}, {"rx", "1"}});
        if (height == 0)
            continue;
        html_.leaf("rect", "",
                   {{"class", "used"},
                    {"x", left},
                    {"y", std::to_string(23 - height)},
                    {"width", "9"},
                    {"height", std::to_string(height)},
                    {"rx", "1"}});
    }
}

void Page::kind(const std::string& id, const DocumentKind& kind, const Envelope& envelope)
{
    const std::string heading = textOf(schemaOf(kind), "title");
    html_.line();
    const auto section = html_.element("section", {{"class", kind.name}, {"aria-labelledby", id}});
    html_.leaf("h3", heading, {{"id", id}});
    if (envelope.error)
        failure(*envelope.error);
    if (envelope.document.is_null())
        return;
    const auto records = recordsOf(envelope.document, kind);
    if (records.empty())
        html_.leaf("p", "None.", {{"class", "quiet"}});
    else if (memberOf(envelope.document, kind.key).is_array())
        table(id, kind, records);
    else
        pairs(linesOf(kind, *records.front(), Shown::page));
    pairs(besideRecords(envelope.document, kind));
}

void Page::pairs(std::span<const Line> lines)
{
    if (lines.empty())
        return;
    const auto list = html_.element("dl", {{"class", "pairs"}});
    for (const Line& line : lines)
        fact(line.label, line.value);
}

void Page::failure(const Envelope::Failure& failure)
{
    const auto paragraph = html_.element("p", {{"class", "failure"}});
    html_.leaf("strong", printable(failure.name), {{"class", "bad"}});
    html_.text(" " + printable(failure.text) + " (status " + std::to_string(failure.status) + ")");
}

void Page::table(const std::string& heading, const DocumentKind& kind, std::span<const json* const> records)
{
    std::vector<Column> all = columnsOf(kind, records, Shown::page);
    const auto isPlain = [&](const Column& column)
    { return std::ranges::none_of(records, [&](const json* record) { return hasRecords(memberOf(*record, column.key)); }); };
    const std::span<const Column> inner(std::ranges::stable_partition(all, isPlain));
    const std::span<const Column> columns(all.data(), all.size() - inner.size());
    const auto scroll = html_.element("div", {{"class", "wide"}});
    const auto table = html_.element("table", {{"aria-labelledby", heading}});
    {
        const auto head = html_.element("thead");
        const auto row = html_.element("tr");
        for (const Column& column : columns)
            html_.leaf("th", labelOf(*column.schema, column.key),
                       {{"scope", "col"}, {"title", textOf(*column.schema, "description")}});
    }
    const auto body = html_.element("tbody");
    for (const json* record : records)
    {
        row(*record, columns);
        for (const Column& column : inner)
            innerRow(kind, column, memberOf(*record, column.key), columns.size());
    }
}

void Page::row(const json& record, std::span<const Column> columns)
{
    html_.line();
    const auto row = html_.element("tr");
    if (!record.is_object())
    {
        html_.leaf("td", record.is_null() ? "Nothing is known of this one." : shownValue(record, json()),
                   {{"class", "quiet"}, {"colspan", std::to_string(std::max<std::size_t>(columns.size(), 1))}});
        return;
    }
    for (const Column& column : columns)
        cell(column, record);
}

void Page::cell(const Column& column, const json& record)
{
    const auto cell = html_.element("td", {{"data-label", labelOf(*column.schema, column.key)}});
    if (!record.contains(column.key))
        return;
    value(memberOf(record, column.key), *column.schema);
    const std::uint64_t size = sizeOf(record, "size");
    if (column.key != "availableSpace" || size == 0)
        return;
    const unsigned used = percentOf(size - std::min(size, sizeOf(record, column.key)), size);
    bar(used);
    html_.text(std::to_string(used) + " % used");
}

// Records within a record: a row below it, each record a line of that.
void Page::innerRow(const DocumentKind& kind, const Column& column, const json& records, std::size_t width)
{
    if (!hasRecords(records))
        return;
    const auto row = html_.element("tr", {{"class", "inner"}});
    const auto cell = html_.element("td", {{"colspan", std::to_string(width)}});
    html_.leaf("span", labelOf(*column.schema, column.key), {{"class", "quiet"}});
    const auto list = html_.element("ul");
    for (const json& record : records)
    {
        const auto item = html_.element("li");
        if (!record.is_object())
        {
            value(record, json());
            continue;
        }
        bool first = true;
        for (const Member& member : membersOf(kind, record, *column.schema))
        {
            html_.text(first ? "" : ", ");
            if (member.label != "Name")
                html_.leaf("span", member.label + " ", {{"class", "quiet"}});
            value(*member.value, *member.schema);
            first = false;
        }
    }
}

void Page::value(const json& value, const json& schema)
{
    const std::string shown = shownValue(value, schema);
    if (const std::string exact = exactValue(value, schema); !exact.empty())
        html_.leaf("data", shown, {{"value", value.dump()}, {"title", exact}});
    else if (shown == "has issues")
        html_.leaf("span", shown, {{"class", "warn"}});
    else
        html_.text(shown);
}

}

std::string htmlReport(std::span<const Envelope> envelopes)
{
    return Page(machinesOf(envelopes)).write();
}
}
