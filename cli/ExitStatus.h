#pragma once

#include <stdexcept>

namespace HardwareInventory
{
// This system or machine cannot do it: no library, no process. The text says why, and names the file if it is about one.
struct UnavailableError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// The exit statuses of the program. Those from 64 on are what sysexits.h has for the same cases.
enum ExitStatus
{
    kSuccess = 0,
    kSome = 1, // collect: a kind failed, or a value is absent; diff and fingerprint --match: they differ
    kAll = 2,  // collect: every kind failed
    kUsage = 64,
    kInput = 65,       // a file that cannot be read, or is not what the command needs
    kUnavailable = 69, // this system or machine cannot do it
    kSoftware = 70,    // out of memory, or a fault of the program
    kOutput = 74       // the output could not be written whole
};
}
