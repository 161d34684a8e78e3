// The inventory of this machine, and tools over the documents: a client of the public header alone.
#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Output.h"
#include "cli/Paths.h"
#include "cli/System.h"
#include "cli/collect/LibraryFile.h"
#include "cli/documents/Envelope.h"

#include <hw_inventory_version.h>

#include <algorithm>
#include <cstdio>
#include <span>
#include <sstream>
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

std::string versions()
{
    const std::string text = "hw-inventory " HW_INVENTORY_VERSION_STRING;
    const std::filesystem::path library = libraryBesideProgram();
    const auto [version, pciIdList] = versionsOf(library);
    if (library.empty())
        return text + "\nno library: collecting needs Windows";
    if (version.empty())
        return text + "\nno library at " + utf8(library);
    return text + '\n' + utf8(library.filename()) + ' ' + version + "\nPCI ID list " + (pciIdList.empty() ? "unknown" : pciIdList);
}

int run(std::vector<std::string> arguments)
{
    CLI::App program("Prints the hardware inventory of this machine, and works on such inventories.", "hw-inventory");
    program.allow_windows_style_options(false); // a path and a JSON pointer can begin with a slash
    program.require_subcommand(1);
    program.set_version_flag("-V,--version", versions, "Print the versions of program, library and PCI ID list, and exit");
    const Command commands[] = {addCollect(program),     addReport(program), addDiff(program),
                                addFingerprint(program), addRedact(program), addWorker(program)};

    if (arguments.empty() || !namesCommand(commands, arguments.front()))
        arguments.insert(arguments.begin(), kDefaultCommand);
    std::ranges::reverse(arguments); // as CLI11 takes them
    try
    {
        program.parse(arguments);
    }
    catch (const CLI::ParseError& error)
    {
        std::ostringstream output;
        std::ostringstream errors;
        const int status = program.exit(error, output, errors);
        writeOutput(output.str());
        std::fputs(errors.str().c_str(), stderr);
        return status == 0 ? kSuccess : kUsage;
    }
    return std::ranges::find_if(commands, [](const Command& command) { return command.arguments->parsed(); })->run();
}

int complain(const std::exception& error, int status)
{
    std::fprintf(stderr, "hw-inventory: %s\n", error.what());
    return status;
}
}

// The arguments as the system has them: UTF-16 on Windows.
#ifdef _WIN32
extern "C" int wmain(int argc, wchar_t** argv)
#else
int main(int argc, char** argv)
#endif
try
{
    const HardwareInventory::Console console;
    makeOutputBinary();
    std::vector<std::string> arguments;
    for (int index = 1; index < argc; ++index)
        arguments.push_back(utf8(argv[index]));
    return run(std::move(arguments));
}
catch (const OutputError& error)
{
    return complain(error, kOutput);
}
catch (const InputError& error)
{
    return complain(error, kInput);
}
catch (const UnavailableError& error)
{
    return complain(error, kUnavailable);
}
catch (const std::exception& error)
{
    return complain(error, kSoftware);
}
