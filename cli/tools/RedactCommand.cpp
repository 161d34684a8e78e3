#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Output.h"
#include "cli/Paths.h"
#include "cli/tools/Redactor.h"
#include "st-core/lib/Hash.h"

#include <cstdio>
#include <fstream>
#include <memory>

namespace HardwareInventory
{
namespace
{
struct Arguments
{
    std::vector<std::string> files;
    std::string keyFile, output;
};

constexpr const char* kHelp = "What identifies gets a placeholder: serial numbers, MAC and IP addresses, the names of the\n"
                              "machine, its owner, organization, domain and logon server. Equal values get equal ones. The\n"
                              "result still matches the schemas; documents and envelopes come out as they went in, one a\n"
                              "line.\n"
                              "\n"
                              "Without --key the placeholders are random, and two runs have nothing in common. With it a\n"
                              "value has the same one in each run, so that redacted inventories can be compared. Keep the\n"
                              "key from whoever gets them: with it a guess can be confirmed.\n"
                              "\n"
                              "  head -c 32 /dev/urandom > fleet.key\n"
                              "  hw-inventory redact --key fleet.key monday.ndjson -o monday-redacted.ndjson\n"
                              "\n"
                              "Values that stand for nothing, such as \"Default string\", stay. docs/privacy.md has what else\n"
                              "stays, and what it may still give away.";

std::string keyOf(const std::string& name)
{
    if (name.empty())
        return ZelStdCore::randomKey();
    std::ifstream file(pathOf(name), std::ios::binary);
    std::string key(std::istreambuf_iterator<char>(file), {});
    if (key.empty())
        throw InputError("no key in " + name);
    return key;
}

// As it came: a document alone has only a kind.
std::string lineOf(const Envelope& envelope)
{
    const bool isAlone = envelope.collected.empty() && envelope.machine.empty() && envelope.version.empty() && !envelope.error;
    return (isAlone ? envelope.document : toJson(envelope)).dump() + "\n";
}

int redact(Arguments arguments)
{
    if (arguments.files.empty())
        arguments.files.emplace_back("-");
    std::vector<Envelope> envelopes;
    for (const std::string& file : arguments.files)
        for (Envelope& envelope : readEnvelopes(pathOf(file)))
            envelopes.push_back(std::move(envelope));
    if (const std::size_t gone = Redactor(keyOf(arguments.keyFile)).redact(envelopes))
        std::fprintf(stderr, "hw-inventory: left out what the schemas do not describe: %zu values\n", gone);
    std::string lines;
    for (const Envelope& envelope : envelopes)
        lines += lineOf(envelope);
    arguments.output.empty() ? writeOutput(lines) : writeFile(pathOf(arguments.output), lines);
    return kSuccess;
}
}

Command addRedact(CLI::App& program)
{
    CLI::App* const command = program.add_subcommand("redact", "Replace what identifies a machine, its user or its network");
    command->footer(kHelp);
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("FILE", arguments->files, "Inventories; standard input if none is given")->option_text("...");
    command->add_option("--key", arguments->keyFile, "A file of any bytes, for placeholders that stay the same")
        ->option_text("FILE");
    command->add_option("-o,--output", arguments->output, "Write to a file instead")->option_text("FILE");
    return {command, [=] { return redact(*arguments); }};
}
}
