#include "cli/collect/Log.h"

namespace HardwareInventory
{
namespace
{
constexpr std::size_t kTrace = 3;

// The first find_disks logs some 80 such warnings, always the same ones: they are about the PCI ID list and not about the machine.
constexpr std::string_view kVendorTwice = "has already been registered";
}

std::size_t logLevel(hw_inventory::Level level, std::string_view line)
{
    using hw_inventory::Level;
    switch (level)
    {
    case Level::error:
        return 0;
    case Level::warning:
        return line.ends_with(kVendorTwice) ? kTrace : 1;
    case Level::information:
        return 2;
    default:
        return kTrace;
    }
}
}
