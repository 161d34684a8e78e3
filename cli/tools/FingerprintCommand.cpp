#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Output.h"
#include "cli/Paths.h"
#include "cli/tools/Fingerprint.h"

#include <memory>

namespace HardwareInventory
{
namespace
{
struct Arguments
{
    std::string file = "-";
    std::vector<std::string> two;
    std::string format = "text";
};

constexpr const char* kHelp =
    "Prints what a machine can be recognised by: a SHA-256 hash for each part that has a serial number or address of its own. There is\n"
    "never one hash over all, so an exchanged disk changes the disk's hash alone. One JSON object a machine, one a line.\n"
    "\n"
    "  strong  system, base-board               what a machine keeps as long as it is the same\n"
    "  medium  disk, memory-module,             parts, which can move to another machine;\n"
    "          network-adapter, video-adapter   without USB disks and addresses drawn by a driver\n"
    "  weak    processor                        its model alone\n"
    "\n"
    "A machine's own \"strength\" is strong with a strong component and at least three that are strong or medium, medium with at least\n"
    "two of these, else weak. A virtual machine is weak and says so: its clones have the same numbers. Without the document of the\n"
    "system nobody knows, and the strength is at most medium.\n"
    "\n"
    "--match counts the components, weak ones left out, of which both inventories have some:\n"
    "\n"
    "  same machine      all of them match\n"
    "  parts exchanged   two or more match: system or board among them, or at least half of all\n"
    "  other machine     fewer match\n"
    "  not comparable    there are none\n"
    "\n"
    "The strength in brackets is that of the evidence, by the same rule. A hash is no secret: who can guess a serial number can\n"
    "confirm it. docs/fingerprint.md has the limits.";

Fingerprint fingerprintOf(const std::string& file)
{
    std::vector<Fingerprint> found = fingerprints(readEnvelopes(pathOf(file)));
    if (found.size() == 1)
        return std::move(found.front());
    throw InputError(file + " has several machines");
}

int print(const std::string& file)
{
    std::string lines;
    for (const Fingerprint& fingerprint : fingerprints(readEnvelopes(pathOf(file))))
        lines += toJson(fingerprint).dump() + "\n";
    writeOutput(lines);
    return kSuccess;
}

int matchTwo(const Arguments& arguments)
{
    const Verdict verdict = match(fingerprintOf(arguments.two[0]), fingerprintOf(arguments.two[1]));
    writeOutput(arguments.format == "json" ? toJson(verdict).dump() + "\n" : asText(verdict));
    return verdict.text == kSameMachine ? kSuccess : kSome;
}
}

Command addFingerprint(CLI::App& program)
{
    CLI::App* const command = program.add_subcommand("fingerprint", "Show what a machine is recognised by, or whether two are one");
    command->footer(kHelp);
    const auto arguments = std::make_shared<Arguments>();
    CLI::Option* const file = command->add_option("FILE", arguments->file, "An inventory; standard input if none is given");
    CLI::Option* const match = command->add_option("--match", arguments->two, "Say whether two inventories are of one machine")
                                   ->expected(2)
                                   ->excludes(file)
                                   ->type_name("A B");
    command->add_option("--format", arguments->format, "With --match: text (the default) or json")
        ->check(CLI::IsMember({"text", "json"}))
        ->needs(match);
    return {command, [=] { return arguments->two.empty() ? print(arguments->file) : matchTwo(*arguments); }};
}
}
