#include "hw-inventory-impl/lib/SMBIOS/SmbiosInventory.h"
#include "tests/fakes/FakeMachine.h"

#include <cstdlib>
#include <stdexcept>

// Any bytes as the firmware table: decoded, or refused with one of two errors. The output is never larger than the input allows.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fakes::machine().smbiosTable.assign(data, data + size);
    fakes::machine().calls.clear();
    try
    {
        const HardwareInventory::SMBIOS::SmbiosInventory inventory;
        if (inventory.memoryModules().size() + inventory.baseBoards().size() + inventory.processors().size() > size / 2)
            std::abort();
    }
    catch (const std::runtime_error&)
    {
    }
    catch (const std::out_of_range&)
    {
    }
    return 0;
}
