#include "vm-detect/vm_detect.h"

#include "vm-detect/HostQueries.h"
#include "vm-detect/Rules.h"

#include <atomic>

namespace
{
constexpr std::int32_t kFirstVirtualType = 1;
constexpr std::int32_t kLastVirtualType = 25;

// Kept from the first time that every source could be read: a host does not change while a process runs. No lock is needed, since
// threads that detect the type at the same time come to the same result.
constexpr std::int32_t kNotDetected = -1;
std::atomic<std::int32_t> detectedType{kNotDetected};

std::int32_t detectType()
{
    const auto table = VmDetect::Platform::firmwareTable();
    const auto biosVersions = VmDetect::Platform::systemBiosVersion();

    VmDetect::HostFacts facts;
    facts.hypervisor = VmDetect::hypervisorFacts(&VmDetect::Platform::cpuid);
    if (table)
        facts.firmware = VmDetect::firmwareFacts(*table);
    if (biosVersions)
        facts.registryBiosVersions = VmDetect::multiStringTexts(*biosVersions);

    const auto type = static_cast<std::int32_t>(VmDetect::hypervisorType(facts));
    if (table && biosVersions)
        detectedType = type;
    return type;
}
}

// A failure counts as a physical machine: that way no fact of a real one is withheld.
std::int32_t VmProbe_GetHostVMType(void)
try
{
    const std::int32_t type = detectedType;
    return type == kNotDetected ? detectType() : type;
}
catch (...)
{
    return static_cast<std::int32_t>(VmDetect::HypervisorType::physical);
}

std::int32_t VmProbe_IsHostVirtual(std::int32_t type)
{
    return type >= kFirstVirtualType && type <= kLastVirtualType ? 1 : 0;
}
