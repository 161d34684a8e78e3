#pragma once

#include "cli/documents/Envelope.h"
#include "cli/documents/Kinds.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace HardwareInventory
{
// What envelopes have of one machine.
struct InventoriedMachine
{
    std::string id;                                                // by which the envelopes name it; empty if they do not
    std::string name;                                              // of the host; else the id; else a number
    std::array<const Envelope*, kDocumentKinds.size()> kinds = {}; // the newest of each kind; null if there is none
};

// Sorted by name, numbers within names by their value. Of documents without an envelope, those of one machine are expected one
// after the other: a kind that recurs begins the next machine.
std::vector<InventoriedMachine> machinesOf(std::span<const Envelope> envelopes);

// Of a machine in a few words; empty or 0 if unknown.
struct MachineFacts
{
    std::string collected; // the newest of its times
    std::string model, serialNumber, system, processors;
    std::uint64_t memory = 0, usableMemory = 0;
    std::vector<std::uint64_t> slots; // the capacity of each memory module
    std::uint64_t disks = 0, used = 0;
    std::vector<const Envelope*> failures;
    std::size_t issues = 0; // devices whose status is not ok
};
MachineFacts factsOf(const InventoriedMachine& machine);
}
