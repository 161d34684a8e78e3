#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Output.h"
#include "cli/Paths.h"
#include "cli/report/HtmlReport.h"
#include "cli/report/Table.h"
#include "cli/report/Terminal.h"

#include <memory>

namespace HardwareInventory
{
namespace
{
struct ReportArguments
{
    std::vector<std::string> files;
    std::string output = "-";
    std::string format = "html";
};

std::string reportOf(std::span<const Envelope> envelopes, const ReportArguments& arguments)
{
    if (arguments.format == "html")
        return htmlReport(envelopes);
    const bool toTerminal = arguments.output == "-";
    return table(envelopes, {.colours = toTerminal && coloursWanted(), .width = toTerminal ? terminalWidth() : 0});
}

int report(const ReportArguments& arguments)
{
    std::vector<Envelope> envelopes;
    for (const std::string& file : arguments.files)
        std::ranges::move(readEnvelopes(pathOf(file)), std::back_inserter(envelopes));
    const std::string text = reportOf(envelopes, arguments);
    if (arguments.output == "-")
        writeOutput(text);
    else
        writeFile(pathOf(arguments.output), text);
    return kSuccess;
}
}

Command addReport(CLI::App& program)
{
    CLI::App* const command =
        program.add_subcommand("report", "Make one page, or tables, of the inventories of any number of machines");
    const auto arguments = std::make_shared<ReportArguments>();
    command
        ->add_option(
            "FILE", arguments->files,
            "Documents or envelopes in any mixture; - is standard input. Of each machine and kind the newest envelope counts. "
            "Name the documents of a machine one after the other if they are without envelopes")
        ->required();
    command->add_option("-o,--output", arguments->output, "The file to write; - is standard output")->capture_default_str();
    command
        ->add_option("--format", arguments->format,
                     "html: a page that is complete in itself, with a search box; table: text for a terminal")
        ->check(CLI::IsMember({"html", "table"}))
        ->capture_default_str();
    return {command, [arguments] { return report(*arguments); }};
}
}
