#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Output.h"
#include "cli/Paths.h"
#include "cli/System.h"
#include "cli/collect/Collector.h"
#include "cli/collect/DropPlaceholders.h"
#include "cli/collect/LibraryFile.h"
#include "cli/collect/Log.h"
#include "cli/collect/Progress.h"
#include "cli/documents/Envelope.h"
#include "cli/report/HtmlReport.h"
#include "cli/report/Table.h"
#include "cli/report/Terminal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace HardwareInventory
{
namespace
{
using hw_inventory::Level;
using nlohmann::json;

struct Options
{
    std::vector<std::string> kinds;
    std::string format = "json";
    std::string output;
    std::string pointer;
    std::string machine;
    std::string library;
    std::string log;
    double timeout = 60;
    bool list = false;
    bool dropPlaceholders = false;
    bool time = false;
    bool progress = false;
};

// What came of a kind, and its document as the library has it, or without its placeholders.
struct Record
{
    Envelope envelope;
    std::string document;
};

// How an inventory is printed: record by record, as soon as each is there, or all of it in the end.
struct Format
{
    const char* name;
    std::string (*record)(const Record& record);
    std::string (*whole)(const std::vector<Envelope>& envelopes, bool toFile);
};

std::string asJson(const Record& record)
{
    return record.envelope.error ? "" : record.document + '\n';
}

std::string asPretty(const Record& record)
{
    return record.envelope.error ? "" : nlohmann::ordered_json::parse(record.document).dump(4) + '\n';
}

std::string asNdjson(const Record& record)
{
    return toJson(record.envelope).dump() + '\n';
}

std::string asTable(const std::vector<Envelope>& envelopes, bool toFile)
{
    return table(envelopes, {.colours = !toFile && coloursWanted(), .width = toFile ? 0 : terminalWidth()});
}

std::string asHtml(const std::vector<Envelope>& envelopes, bool)
{
    return htmlReport(envelopes);
}

constexpr auto kFormats = std::to_array<Format>({{"json", asJson, nullptr},
                                                 {"pretty", asPretty, nullptr},
                                                 {"ndjson", asNdjson, nullptr},
                                                 {"table", nullptr, asTable},
                                                 {"html", nullptr, asHtml}});

std::string timestamp(std::chrono::system_clock::time_point time)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const auto midnight = std::chrono::floor<std::chrono::days>(seconds);
    const std::chrono::year_month_day date(midnight);
    const std::chrono::hh_mm_ss clock(seconds - midnight);
    char text[64];
    std::snprintf(text, sizeof(text), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
    return text;
}

// Messages of the system end with a line break, and have others.
std::string onOneLine(std::string text)
{
    text.erase(text.find_last_not_of(" \r\n") + 1);
    std::ranges::replace_if(
        text, [](char letter) { return letter == '\r' || letter == '\n'; }, ' ');
    return text;
}

// One run of the command.
class Collection
{
public:
    explicit Collection(const Options& options)
        : options_(options), library_(options.library.empty() ? libraryBesideProgram() : pathOf(options.library)),
          format_(*std::ranges::find_if(kFormats, [&](const Format& each) { return options.format == each.name; })),
          progress_(options.progress && errorsAreSeen())
    {
    }

    int run();

private:
    std::vector<const DocumentKind*> kinds() const;
    std::unique_ptr<Collector> collector();
    void log(Level level, const std::string& line);
    Record record(const DocumentKind& kind, Collected collected) const;
    void write(const std::string& text);
    bool writeValue(const Record& record);
    void complain(const std::string& text);

    const Options& options_;
    std::filesystem::path library_;
    const Format& format_;
    Progress progress_;
    std::string version_; // of the library
    std::string machine_;
    std::string file_; // what the output file gets in the end
};

std::vector<const DocumentKind*> Collection::kinds() const
{
    std::vector<const DocumentKind*> kinds;
    for (const std::string& name : options_.kinds)
        if (const DocumentKind* const kind = kindNamed(name); std::ranges::find(kinds, kind) == kinds.end())
            kinds.push_back(kind);
    if (kinds.empty())
        for (const DocumentKind& kind : kDocumentKinds)
            kinds.push_back(&kind);
    return kinds;
}

std::unique_ptr<Collector> Collection::collector()
{
    if (library_.empty())
        throw UnavailableError("collecting needs Windows, or a library for tests (--library)");
    hw_inventory::Log log;
    if (!options_.log.empty())
        log = [this](Level level, const std::string& line) { this->log(level, line); };
    if (options_.timeout == 0)
        return collectHere(library_, std::move(log));
    const std::chrono::duration<double> limit(options_.timeout);
    return collectElsewhere(library_, std::move(log), std::chrono::ceil<std::chrono::milliseconds>(limit));
}

void Collection::log(Level level, const std::string& line)
{
    const auto wanted = std::ranges::find(kLogLevels, options_.log) - kLogLevels.begin();
    if (logLevel(level, line) > static_cast<std::size_t>(wanted))
        return;
    constexpr auto kNames = std::to_array<const char*>({"info", "warning", "error", "trace"}); // by Level
    const auto number = static_cast<std::size_t>(level);
    progress_.clear();
    std::fprintf(stderr, "<%s> %s\n", number < kNames.size() ? kNames[number] : "unknown", line.c_str());
}

Record Collection::record(const DocumentKind& kind, Collected collected) const
{
    Record made;
    Envelope& envelope = made.envelope;
    envelope.kind = kind.name;
    envelope.collected = timestamp(collected.began);
    envelope.machine = machine_;
    envelope.version = version_;
    envelope.durationMs = collected.took.count();

    hw_inventory::Result& result = collected.result;
    if (result)
    {
        json document = json::parse(result.document, nullptr, false);
        if (kindOf(document) == &kind)
        {
            made.document = std::move(result.document);
            if (options_.dropPlaceholders)
            {
                dropPlaceholders(document);
                made.document = document.dump();
            }
            envelope.document = std::move(document);
            return made;
        }
        result.status = kNoDocument;
        result.error.text = "what the library returned is no document of this kind";
    }
    envelope.error = {static_cast<std::uint32_t>(result.status), statusName(result.status), onOneLine(result.error.text)};
    return made;
}

void Collection::write(const std::string& text)
{
    if (!options_.output.empty())
        file_ += text;
    else if (!text.empty())
    {
        progress_.clear();
        writeOutput(text);
    }
}

// False where there is no such value, or null.
bool Collection::writeValue(const Record& record)
{
    try
    {
        const json& value = record.envelope.document.at(json::json_pointer(options_.pointer));
        if (value.is_null())
            return false;
        write((value.is_string() ? value.get<std::string>() : value.dump()) + '\n');
        return true;
    }
    catch (const json::exception&)
    {
        return false;
    }
}

void Collection::complain(const std::string& text)
{
    progress_.clear();
    std::fprintf(stderr, "hw-inventory: %s\n", text.c_str());
}

int Collection::run()
{
    const std::vector<const DocumentKind*> wanted = kinds();
    const std::unique_ptr<Collector> source = collector();
    version_ = versionsOf(library_).library;
    machine_ = options_.machine.empty() ? machineName() : options_.machine;

    std::size_t failed = 0;
    bool absent = false;
    std::vector<Envelope> envelopes;
    for (const DocumentKind* const kind : wanted)
    {
        const std::string name(kind->name);
        progress_.show("collecting " + name);
        Record made = record(*kind, source->collect(*kind));
        if (options_.time)
            complain(name + ": " + std::to_string(made.envelope.durationMs) + " ms");
        if (made.envelope.error)
        {
            ++failed;
            complain(name + ": " + made.envelope.error->text);
        }
        if (options_.pointer.empty() && format_.record)
            write(format_.record(made));
        else if (options_.pointer.empty())
            envelopes.push_back(std::move(made.envelope));
        else if (!made.envelope.error && !writeValue(made))
        {
            absent = true;
            complain(name + " has no " + options_.pointer);
        }
    }
    if (!envelopes.empty())
        write(format_.whole(envelopes, !options_.output.empty()));
    progress_.clear();
    // Where nothing was collected, what an earlier run left in the file stays.
    if (!file_.empty())
        writeFile(pathOf(options_.output), file_);
    if (failed == wanted.size())
        return kAll;
    return failed != 0 || absent ? kSome : kSuccess;
}

std::string checkKind(const std::string& text)
{
    return kindNamed(text) ? "" : "no kind " + text + ": there are those of --list";
}

std::string checkPointer(const std::string& text)
{
    try
    {
        const json::json_pointer pointer(text);
        return text.empty() ? "an empty pointer is the whole document: leave --get out" : "";
    }
    catch (const json::exception&)
    {
        return text + " is no JSON pointer, as /system/serialNumber is one";
    }
}

std::string checkSeconds(const std::string& text)
{
    constexpr double kMost = 1'000'000;
    double seconds = 0;
    return CLI::detail::lexical_cast(text, seconds) && seconds >= 0 && seconds <= kMost
               ? ""
               : text + " is no number of seconds up to 1000000";
}

int list()
{
    std::string text;
    for (const DocumentKind& kind : kDocumentKinds)
        text += std::string(kind.name) + '\n';
    writeOutput(text);
    return kSuccess;
}
}

Command addCollect(CLI::App& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App* const command =
        program.add_subcommand("collect", "Print the inventory of this machine: what the program does without a command");
    command
        ->add_option("KIND", options->kinds,
                     "What to collect, in this order: a name of --list, or the first key of\n"
                     "its document; all without any")
        ->check(checkKind);
    command->add_flag("--list", options->list, "Print the names of the kinds, and collect nothing");

    std::vector<std::string> formats(kFormats.size());
    std::ranges::transform(kFormats, formats.begin(), &Format::name);
    CLI::Option* const format = command->add_option("--format", options->format,
                                                    "json      the documents, one a line, as the library has them (the default)\n"
                                                    "pretty    the documents, indented\n"
                                                    "ndjson    one a line, failures too, with machine, time and version\n"
                                                    "table     for a terminal\n"
                                                    "html      a page for a browser");
    format->check(CLI::IsMember(formats))->option_text("FORMAT");
    command
        ->add_flag_callback(
            "--pretty", [options] { options->format = "pretty"; }, "Short for --format pretty")
        ->excludes(format);
    command
        ->add_option("-o,--output", options->output,
                     "Write to a file in the end instead; if nothing was collected, it stays\n"
                     "as it was")
        ->option_text("FILE");
    CLI::Option* const get = command->add_option("--get", options->pointer,
                                                 "Print a single value of the one KIND, a text without quotes:\n"
                                                 "system --get /system/serialNumber");
    get->check(checkPointer)->option_text("POINTER")->excludes(format)->excludes("--pretty");
    command->add_flag("--drop-placeholders", options->dropPlaceholders,
                      "Leave out texts that say nothing: \"To be filled by O.E.M.\", zeros");
    command->add_option("--machine", options->machine, "What ndjson has as the machine, instead of its name")->option_text("ID");

    command
        ->add_option("--timeout", options->timeout,
                     "The time for each kind, 60 if not given; then its process is ended, and\n"
                     "another one collects the rest. 0: no limit and no process of its own")
        ->check(checkSeconds)
        ->option_text("SECONDS");
    command->add_option("--library", options->library, "Instead of the library beside this program")->option_text("FILE");

    command->add_flag("--time", options->time, "Print on standard error how long each kind took");
    command
        ->add_flag("--log{info}", options->log,
                   "Print the library's log on standard error: error, warning, info (without\n"
                   "a level) or trace, each with those before it")
        ->check(CLI::IsMember(std::vector<std::string>(kLogLevels.begin(), kLogLevels.end())))
        ->option_text("[=LEVEL]");
    command->add_flag("--progress", options->progress, "Show on a terminal which kind is being collected");

    command->callback(
        [options]
        {
            if (!options->pointer.empty() && options->kinds.size() != 1)
                throw CLI::ValidationError("--get", "takes exactly one KIND");
        });
    return {command, [options] { return options->list ? list() : Collection(*options).run(); }};
}

Command addWorker(CLI::App& program)
{
    CLI::App* const command = program.add_subcommand("worker", "Collect for another process of this program");
    command->group(""); // not for people
    return {command, serveCollector};
}
}
