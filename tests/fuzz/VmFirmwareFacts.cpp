#include "vm-detect/HostFacts.h"
#include "vm-detect/Rules.h"

#include <cstdlib>
#include <string>

// Any bytes as a firmware table and as a registry value: the facts contain no more text than the bytes, and the rules accept them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    VmDetect::HostFacts facts;
    facts.firmware = VmDetect::firmwareFacts({data, size});
    facts.registryBiosVersions = VmDetect::multiStringTexts({reinterpret_cast<const char*>(data), size});

    std::size_t oemLetters = 0;
    for (const std::string& text : facts.firmware.oemStrings)
        oemLetters += text.size();
    if (oemLetters > size || facts.firmware.manufacturer.size() > size)
        std::abort();

    VmDetect::hypervisorType(facts);
    return 0;
}
