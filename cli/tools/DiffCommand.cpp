#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Output.h"
#include "cli/Paths.h"
#include "cli/tools/Diff.h"
#include "cli/tools/Identity.h"

#include <memory>
#include <set>

namespace HardwareInventory
{
namespace
{
struct Arguments
{
    std::string oldFile, newFile;
    std::string format = "text";
    bool all = false, rules = false;
};

constexpr const char* kHelp = "One line a change:\n"
                              "\n"
                              "  disks  SSD 970 EVO 500GB (DISK-1): status \"ok\" -> \"has issues\"\n"
                              "  ram  + DIMM B (RAM-2)\n"
                              "  cpus  not comparable: failed in NEW: timed out\n"
                              "\n"
                              "+ is a record that only NEW has, - one that only OLD has. OLD and NEW have documents or\n"
                              "envelopes (--format ndjson), of one machine or of many. Machines are matched by name;\n"
                              "where each file has a single one, these two are compared, whatever their names are. Of\n"
                              "several envelopes of a machine and a kind the last one counts.\n"
                              "\n"
                              "Records are matched by serial number or MAC address, else by slot, else by name. A\n"
                              "placeholder such as \"Default string\" matches nothing. What changes by itself is left out:\n"
                              "the temperature of a video adapter, the available space of disks and partitions, the boot\n"
                              "time, IP addresses, and the numbering of memory modules.\n"
                              "\n"
                              "With --format json the changes are an array, with one object a line. Its \"change\" is\n"
                              "changed, added, removed or incomparable; \"oldAt\" and \"newAt\" are JSON pointers into the two\n"
                              "documents, null where there is nothing.\n"
                              "\n"
                              "The exit status is 0 if the inventories are equal, and 1 if they are not.";

bool areMany(const std::vector<Envelope>& envelopes)
{
    std::set<std::string> names;
    for (const Envelope& envelope : envelopes)
        names.insert(envelope.machine);
    return names.size() > 1;
}

int diff(const Arguments& arguments)
{
    const std::vector<Envelope> before = readEnvelopes(pathOf(arguments.oldFile)), after = readEnvelopes(pathOf(arguments.newFile));
    const std::vector<Change> changes = differences(before, after, arguments.all);
    const bool isJson = arguments.format == "json", withMachine = areMany(before) || areMany(after);
    std::string output;
    for (const Change& change : changes)
        output += (isJson ? (output.empty() ? "[\n" : ",\n") + toJson(change).dump() : asText(change, withMachine) + "\n");
    if (isJson)
        output += changes.empty() ? "[]\n" : "\n]\n";
    writeOutput(output);
    return changes.empty() ? kSuccess : kSome;
}
}

Command addDiff(CLI::App& program)
{
    CLI::App* const command = program.add_subcommand("diff", "Show what changed between two inventories");
    command->footer(kHelp);
    const auto arguments = std::make_shared<Arguments>();
    auto* const rules =
        command->add_flag("--rules", arguments->rules, "Print the rules by which records are matched, as JSON, and exit");
    command->add_option("OLD", arguments->oldFile, "The inventory before; - is standard input")->type_name("");
    command->add_option("NEW", arguments->newFile, "The inventory after")->type_name("");
    command->add_option("--format", arguments->format, "text (the default) or json")
        ->option_text("FORMAT")
        ->check(CLI::IsMember({"text", "json"}));
    command->add_flag("--all", arguments->all, "Compare also what changes by itself");
    command->callback(
        [=]
        {
            if (!rules->count() && arguments->newFile.empty())
                throw CLI::RequiredError("OLD and NEW");
        });
    return {command, [=]
            {
                if (!arguments->rules)
                    return diff(*arguments);
                writeOutput(rulesAsJson().dump(2) + "\n");
                return static_cast<int>(kSuccess);
            }};
}
}
