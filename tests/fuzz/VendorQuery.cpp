// Lines of Latin-1 text: all but the last are registered as vendors, the last is the query. The same result as the plain query's.
#include "bench/PlainVendorRegistry.h"
#include "hw-inventory-impl/lib/VendorRegistry.h"
#include "tests/fakes/FakeMachine.h"

#include <cstdint>
#include <cstdlib>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fakes::LogCapture log;
    HardwareInventory::VendorRegistry registry;
    plain::VendorRegistry expected;
    std::wstring line;
    for (const std::uint8_t byte : std::span(data, size))
    {
        if (byte != '\n')
        {
            line += static_cast<wchar_t>(byte);
            continue;
        }
        registry.registerVendor(line);
        expected.registerVendor(line);
        line.clear();
    }
    const auto match = registry.closestVendor(line);
    if (std::pair(match.vendor, match.rest) != expected.closestVendor(line))
        std::abort();
    return 0;
}
