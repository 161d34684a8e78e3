#pragma once

#include "cli/documents/Envelope.h"

#include <span>
#include <string>

namespace HardwareInventory
{
// The envelopes as a page ("html") or as tables ("table"). On standard output tables are made for a terminal, if it is one.
std::string rendered(std::span<const Envelope> envelopes, const std::string& format, bool onStandardOutput);
}
