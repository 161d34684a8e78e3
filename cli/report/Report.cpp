#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Output.h"
#include "cli/Paths.h"
#include "cli/report/HtmlReport.h"
#include "cli/report/Table.h"
#include "cli/report/Terminal.h"

#include <algorithm>
#include <memory>

namespace HardwareInventory
{
namespace
{
constexpr const char* kStandard = "-"; // standard input, or standard output

struct ReportArguments
{
    std::vector<std::string> files;
    std::string output = kStandard;
    std::string format = "html";
};

// The inventories in a folder, in the order of their names; anything else is itself.
std::vector<std::filesystem::path> filesOf(const std::filesystem::path& path)
{
    std::error_code error;
    if (!is_directory(path, error))
        return {path};
    std::vector<std::filesystem::path> files;
    for (std::filesystem::directory_iterator entry(path, error), end; entry != end && !error; entry.increment(error))
        if (const auto extension = entry->path().extension(); extension == ".json" || extension == ".ndjson")
            files.push_back(entry->path());
    if (error || files.empty())
        throw InputError("no inventory in " + utf8(path));
    std::ranges::sort(files);
    return files;
}

std::string reportOf(std::span<const Envelope> envelopes, const ReportArguments& arguments)
{
    if (arguments.format == "html")
        return htmlReport(envelopes);
    const bool onTerminal = arguments.output == kStandard;
    return table(envelopes, {.colours = onTerminal && coloursWanted(), .width = onTerminal ? terminalWidth() : 0});
}

int report(const ReportArguments& arguments)
{
    std::vector<Envelope> envelopes;
    for (const std::string& file : arguments.files)
        for (const std::filesystem::path& path : filesOf(pathOf(file)))
            std::ranges::move(readEnvelopes(path), std::back_inserter(envelopes));
    const std::string text = reportOf(envelopes, arguments);
    if (arguments.output == kStandard)
        writeOutput(text);
    else
        writeFile(pathOf(arguments.output), text);
    return kSuccess;
}
}

Command addReport(CLI::App& program)
{
    CLI::App* const command = program.add_subcommand("report", "Make a page of the inventories of one machine or of thousands");
    const auto arguments = std::make_shared<ReportArguments>();
    command
        ->add_option("FILE", arguments->files,
                     "Inventories, with or without envelopes, in any mixture; a folder for those in it; - for standard input")
        ->required()
        ->option_text("...");
    command->add_option("-o,--output", arguments->output, "Write to FILE instead of standard output")->option_text("FILE");
    command->add_option("--format", arguments->format)
        ->description("html: one file to open, mail or print. It has a search box, and loads nothing from anywhere\n"
                      "table: text for a terminal")
        ->check(CLI::IsMember({"html", "table"}))
        ->option_text("html|table");
    command->footer(
        "Of each machine and kind the newest envelope counts; a kind that failed is shown as failed.\n"
        "Inventories without envelopes do not say of which machine they are: name those of one machine one after the other.\n"
        "\n"
        "Example: hw-inventory --format ndjson | hw-inventory report - -o this-machine.html");
    return {command, [arguments] { return report(*arguments); }};
}
}
