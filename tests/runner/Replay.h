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

// All eight documents of the machine, or one; then what no document shows, by the keys of described().
Replayed collect(std::string_view kind = {}, const std::vector<std::string>& keys = {});

// The machine as another process records it while it collects: natively alone.
HardwareInventory::Json recordedAgain(const HardwareInventory::Json& recording, std::string_view kind,
                                      const std::vector<std::string>& keys);

// How often the machine has been asked so far.
std::size_t timesAsked(const std::string& question);

// "firmware": every decoded fact, "vendorGpus": every reading of the vendors' libraries, both without what is empty; "vmType";
// "entryPoint BYTES": where the SMBIOS entry point leads.
HardwareInventory::Json described(const std::string& key);

// Names and values, without those that are null, "", [] or 0; a reading may be 0.0.
HardwareInventory::Json factsOf(const std::vector<HardwareInventory::Json>& namesAndValues);
HardwareInventory::Json facts(const auto&... namesAndValues)
{
    return factsOf({HardwareInventory::Json(namesAndValues)...});
}

// The type by vm-detect's rules of a host with these facts.
int hypervisorOf(const HardwareInventory::Json& facts);
