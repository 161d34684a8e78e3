// Captures what the inventory asks of this machine, and replays it on another one.
#include "cli/Output.h"
#include "machine/Anonymiser.h"
#include "machine/Kinds.h"
#include "machine/MachineInUse.h"
#include "machine/NativeMachine.h"
#include "machine/RecordedMachine.h"
#include "machine/RecordingMachine.h"
#include "machine/VmFacts.h"
#include "st-core/lib/Hash.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <fstream>

namespace
{
using HardwareInventory::Recording;
using namespace HardwareInventory::Platform;

constexpr int kFailure = 1;
constexpr int kUsageError = 64; // apart from every status of the library

std::string readFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(file)), {});
    if (!file)
        throw std::runtime_error("cannot read " + path.string());
    return bytes;
}

// For the life of the process: the vendors' libraries are called until its end.
Recording& keep(Recording recording)
{
    return *new Recording(std::move(recording));
}

std::string keyOf(const std::string& keyFile)
{
    if (keyFile.empty())
        return ZelStdCore::randomKey();
    std::string key = readFile(keyFile);
    if (key.empty())
        throw std::runtime_error("the key file is empty");
    return key;
}

Recording anonymised(const Recording& recording, const std::string& keyFile)
{
    return Recording::of(HardwareInventory::Anonymiser(keyOf(keyFile)).anonymise(recording.document()));
}

int capture(const std::string& path, bool raw, const std::string& keyFile)
{
    Recording& recording = keep({});
    static RecordingMachine machine(nativeMachine(), recording);
    useMachine(machine);
    HardwareInventory::recordVmFacts(recording, machine);
    for (const Kind& kind : kKinds)
    {
        char* buffer = nullptr;
        std::size_t size = 0;
        if (kind.find(&buffer, &size) == EXPORT_STATUS_SUCCESS)
            release_buffer(buffer);
    }
    HardwareInventory::writeFile(path, raw ? recording.text() : anonymised(recording, keyFile).text());
    return 0;
}

int anonymise(const std::string& path, const std::string& output, const std::string& keyFile)
{
    HardwareInventory::writeFile(output.empty() ? path : output, anonymised(Recording::parse(readFile(path)), keyFile).text());
    return 0;
}

int replay(const std::string& path, const std::vector<std::string>& kinds, bool log)
{
    Recording& recording = keep(Recording::parse(readFile(path)));
    static RecordedMachine machine(recording);
    useMachine(machine);
    if (log)
        hardware_inventory_set_logger(printLogLine);
    ExportStatus worst = EXPORT_STATUS_SUCCESS;
    for (const Kind& kind : kKinds)
        if (kinds.empty() || std::ranges::find(kinds, kind.name) != kinds.end())
            worst = std::max(worst, print(kind, false));
    for (const std::string& question : recording.unknown())
        std::fprintf(stderr, "not recorded: %s\n", question.c_str());
    return static_cast<int>(worst);
}

int run(int argc, char** argv)
{
    CLI::App program("Captures what the hardware inventory asks of this machine, and replays it on another one.", "hw-machine");
    program.require_subcommand(1);
    program.allow_windows_style_options(false); // a path can begin with a slash
    std::string file;
    std::string output;
    std::string keyFile;
    bool raw = false;
    bool log = false;
    std::vector<std::string> kinds;
    CLI::App* const captureCommand = program.add_subcommand("capture", "Write this machine's answers to a file");
    captureCommand->add_option("FILE", file)->required();
    captureCommand->add_flag("--raw", raw, "Keep serial numbers, names and addresses; without it they are replaced");
    CLI::App* const replayCommand = program.add_subcommand("replay", "Print the documents of a recorded machine, one a line");
    replayCommand->add_option("FILE", file)->required();
    replayCommand->add_option("KIND", kinds, "The documents to print; all without any")
        ->check(CLI::IsMember({"cpus", "gpus", "ram", "disks", "network-adapters", "base-boards", "system", "hotfixes"}));
    replayCommand->add_flag("--log", log, "Show the library's log on standard error");
    CLI::App* const anonymiseCommand = program.add_subcommand("anonymise", "Replace serial numbers, names and addresses in a file");
    anonymiseCommand->add_option("FILE", file)->required();
    anonymiseCommand->add_option("-o,--output", output, "The file to write; FILE itself without it");
    for (CLI::App* const command : {captureCommand, anonymiseCommand})
        command->add_option("--key", keyFile, "A file of any bytes: with the same key the same values get the same substitutes");
    try
    {
        program.parse(argc, argv);
        if (*captureCommand)
            return capture(file, raw, keyFile);
        return *anonymiseCommand ? anonymise(file, output, keyFile) : replay(file, kinds, log);
    }
    catch (const CLI::ParseError& error)
    {
        return program.exit(error) == 0 ? 0 : kUsageError;
    }
}
}

int main(int argc, char** argv)
try
{
    HardwareInventory::makeOutputBinary();
    return run(argc, argv);
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "hw-machine: %s\n", error.what());
    return kFailure;
}
