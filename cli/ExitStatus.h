#pragma once

namespace HardwareInventory
{
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
