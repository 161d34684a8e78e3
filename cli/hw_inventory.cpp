// The inventory of this machine, and tools over the documents: a client of the public header alone.
#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Output.h"
#include "cli/documents/Envelope.h"

#include <algorithm>
#include <cstdio>
#include <span>
#include <string_view>
#include <vector>

namespace
{
using namespace HardwareInventory;

constexpr const char* kDefaultCommand = "collect";

// "hw-inventory cpus" is "hw-inventory collect cpus".
bool namesCommand(std::span<const Command> commands, const std::string& argument)
{
    constexpr std::string_view own[] = {"-h", "--help", "-V", "--version"};
    const auto name = [](const Command& command) { return command.arguments->get_name(); };
    return std::ranges::find(own, argument) != std::end(own) || std::ranges::find(commands, argument, name) != commands.end();
}

int run(std::vector<std::string> arguments)
{
    CLI::App program("Prints the hardware inventory of this machine, and works on such inventories.", "hw-inventory");
    program.allow_windows_style_options(false); // a path and a JSON pointer can begin with a slash
    program.require_subcommand(1);
    const Command commands[] = {addCollect(program), addDiff(program), addRedact(program), addFingerprint(program)};

    if (arguments.empty() || !namesCommand(commands, arguments.front()))
        arguments.insert(arguments.begin(), kDefaultCommand);
    std::ranges::reverse(arguments); // as CLI11 takes them
    try
    {
        program.parse(arguments);
    }
    catch (const CLI::ParseError& error)
    {
        return program.exit(error) == 0 ? kSuccess : kUsage;
    }
    return std::ranges::find_if(commands, [](const Command& command) { return command.arguments->parsed(); })->run();
}
}

int main(int argc, char** argv)
try
{
    makeOutputBinary();
    return run({argv + std::min(argc, 1), argv + argc});
}
catch (const OutputError& error)
{
    std::fprintf(stderr, "hw-inventory: %s\n", error.what());
    return kOutput;
}
catch (const InputError& error)
{
    std::fprintf(stderr, "hw-inventory: %s\n", error.what());
    return kInput;
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "hw-inventory: %s\n", error.what());
    return kSoftware;
}
