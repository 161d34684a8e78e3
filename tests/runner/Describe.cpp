#include "tests/runner/Replay.h"

HardwareInventory::Json described(const std::string&)
{
    return nullptr;
}
