#pragma once

#include "cli/documents/Envelope.h"

#include <span>
#include <string>

namespace HardwareInventory
{
// A page about the machines of the envelopes, of each machine the newest envelope of each kind. It is one file, asks nothing of a
// network, and the same envelopes give the same bytes.
std::string htmlReport(std::span<const Envelope> envelopes);
}
