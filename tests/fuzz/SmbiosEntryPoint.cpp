#include "hw-inventory-impl/lib/SMBIOS/Win32Parser.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "tests/fakes/FakeMachine.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

using namespace HardwareInventory::SMBIOS;

namespace
{
// Corrects the checksum, so that more inputs pass it.
void repairSum(std::vector<std::uint8_t>& entryPoint)
{
    const std::size_t form = entryPoint.size() > 3 && entryPoint[3] == '3' ? 5 : 4;
    if (entryPoint.size() <= form + 1)
        return;
    const std::size_t length = std::min<std::size_t>(entryPoint[form + 1], entryPoint.size());
    entryPoint[form] -= std::accumulate(entryPoint.begin(), entryPoint.begin() + length, std::uint8_t{0});
}
}

// The first byte: the length of the entry point (its low six bits), and whether to correct the checksum. What follows the entry
// point is the range of physical memory.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const auto* const memory = data + 1 + std::min<std::size_t>(data[0] & 0x3F, size - 1);
    std::vector<std::uint8_t> entryPoint(data + 1, memory);
    if (data[0] & 0x80)
        repairSum(entryPoint);
    fakes::machine().smbiosTable.assign(memory, data + size);
    fakes::machine().calls.clear();

    Win32Parser parser;
    for (unsigned type = 0; type < 256; ++type)
        parser.registerHandler(static_cast<std::uint8_t>(type),
                               [](const Version&, const Struct* structure) { strings(*structure); });
    try
    {
        parser.parse(entryPoint);
    }
    catch (const HardwareInventory::ErrorHandling::Exception&)
    {
    }
    catch (const std::runtime_error&)
    {
    }
    return 0;
}
