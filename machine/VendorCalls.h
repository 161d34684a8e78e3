#pragma once

#include "machine/Recording.h"

#include <string_view>

// The calls of the vendors' libraries, out of a recording and into one. A call is the question "call FUNCTION ARGUMENT..."; its
// answer is [RESULT, OUTPUT...].
namespace HardwareInventory::VendorCalls
{
// A function that answers out of the recording; null for a name that is none of the vendors' functions.
void* replay(Recording& recording, std::string_view name);

// A function that calls the real one and notes its answer; the real one itself for such a name.
void* record(Recording& recording, std::string_view name, void* real);
}

namespace HardwareInventory
{
// Throws std::runtime_error for what is no answer of a call.
void checkVendorCall(const Json& answer);
}
