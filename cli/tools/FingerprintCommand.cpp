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

constexpr const char* kHelp = "Prints a SHA-256 hash for each part of a machine that has a serial number or address of its\n"
                              "own, as one JSON object a machine. There is never one hash over all: an exchanged disk\n"
                              "changes the disk's hash alone.\n"
                              "\n"
                              "  strong  system, base-board               what a machine keeps as long as it is the same\n"
                              "  medium  disk, memory-module,             parts, which can move to another machine\n"
                              "          network-adapter, video-adapter\n"
                              "  weak    processor                        its model alone\n"
                              "\n"
                              "A machine is strong with a strong component and at least three that are strong or medium,\n"
                              "medium with at least two of these, else weak. A virtual machine is weak and says so: its\n"
                              "clones have the same numbers.\n"
                              "\n"
                              "--match counts the components, weak ones left out, of those parts that both have:\n"
                              "\n"
                              "  same machine      all match\n"
                              "  parts exchanged   two or more match: system or board among them, or half of all\n"
                              "  other machine     fewer match\n"
                              "  not comparable    there are none\n"
                              "\n"
                              "The strength in brackets is that of the evidence, by the same rule. The exit status is 0\n"
                              "for the same machine, and 1 for all else. docs/fingerprint.md has the limits.";

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
    CLI::Option* const file =
        command->add_option("FILE", arguments->file, "An inventory; standard input if none is given")->type_name("");
    CLI::Option* const match = command->add_option("--match", arguments->two, "Say whether two inventories are of one machine")
                                   ->expected(2)
                                   ->option_text("A B")
                                   ->excludes(file);
    command->add_option("--format", arguments->format, "With --match: text (the default) or json")
        ->option_text("FORMAT")
        ->check(CLI::IsMember({"text", "json"}))
        ->needs(match);
    return {command, [=] { return arguments->two.empty() ? print(arguments->file) : matchTwo(*arguments); }};
}
}
