#pragma once

#include <CLI/CLI.hpp>

#include <functional>

namespace HardwareInventory
{
// A command of the program. After its arguments are parsed, run() does the work and returns an ExitStatus. It may throw
// OutputError, InputError and UnavailableError, which the program reports.
struct Command
{
    CLI::App* arguments;
    std::function<int()> run;
};

Command addCollect(CLI::App& program);
Command addDiff(CLI::App& program);
Command addFingerprint(CLI::App& program);
Command addRedact(CLI::App& program);
Command addReport(CLI::App& program);
Command addWorker(CLI::App& program);
}
