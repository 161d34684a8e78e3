#pragma once

#include "machine/Recording.h"

#include <string>
#include <vector>

// A machine replayed in this process: from its first collection on, as a host's first call finds it.
struct Replayed
{
    HardwareInventory::Json documents; // of all kinds in one object
    HardwareInventory::Json statuses;  // by kind, those that are not 0
    std::vector<std::string> log;      // "level text", addresses as @, without those of vendors, which fuzz/VendorQuery compares
};

// Makes it the process's machine.
void setMachine(const HardwareInventory::Json& recording);

// All eight documents of the machine, or one.
Replayed collect(std::string_view kind = {});

// How often the machine has been asked so far.
std::size_t timesAsked(const std::string& question);

// What no document shows, computed when a case expects it: "firmware", "vendorGpus".
HardwareInventory::Json described(const std::string& key);
