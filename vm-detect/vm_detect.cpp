#include "vm-detect/vm_detect.h"

#include "vm-detect/HostQueries.h"
#include "vm-detect/Rules.h"

namespace
{
constexpr std::int32_t kFirstVirtualType = 1;
constexpr std::int32_t kLastVirtualType = 25;

VmDetect::HostFacts factsOfThisHost()
{
    VmDetect::HostFacts facts;
    facts.hypervisor = VmDetect::hypervisorFacts(&VmDetect::Platform::cpuid);
    facts.firmware = VmDetect::firmwareFacts(VmDetect::Platform::firmwareTable());
    facts.registryBiosVersions = VmDetect::multiStringTexts(VmDetect::Platform::systemBiosVersion());
    return facts;
}
}

// A host that cannot be judged counts as physical: that way no fact of a real machine is withheld.
std::int32_t VmProbe_GetHostVMType(void)
try
{
    return static_cast<std::int32_t>(VmDetect::hypervisorType(factsOfThisHost()));
}
catch (...)
{
    return static_cast<std::int32_t>(VmDetect::HypervisorType::physical);
}

std::int32_t VmProbe_IsHostVirtual(std::int32_t type)
{
    return type >= kFirstVirtualType && type <= kLastVirtualType ? 1 : 0;
}
