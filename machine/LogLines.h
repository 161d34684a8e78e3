#pragma once

#include "machine/Recording.h"

namespace HardwareInventory
{
// The lines that the machine's own answers log, written as [[level, "line"], ...].
class LogLines
{
public:
    // From now on the lines are kept, in the place of a host's callback.
    static void listen();

    // The lines since the last call.
    static Json take();

    // Logs the lines of an answer, if it has any.
    static void repeat(const Json& answer);

    // Throws std::runtime_error if the answer has lines that are none.
    static void check(const Json& answer);
};
}
