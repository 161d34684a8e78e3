#include "cli/Commands.h"
#include "cli/ExitStatus.h"

namespace HardwareInventory
{
Command addCollect(CLI::App& program)
{
    CLI::App* const arguments = program.add_subcommand("collect", "Print the inventory of this machine");
    return {arguments, [] { return kUnavailable; }};
}
}
