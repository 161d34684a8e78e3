#pragma once

#include "cli/documents/Envelope.h"

#include <span>
#include <string>

namespace HardwareInventory
{
struct TableStyle
{
    bool colours = false;
    unsigned width = 0; // of the terminal in columns; 0: lines of any length
};

// The envelopes as tables for a terminal, of each machine the newest envelope of each kind. No value in it can command the
// terminal.
std::string table(std::span<const Envelope> envelopes, const TableStyle& style);
}
