#include "vm-detect/HostFacts.h"

#include <cstring>

namespace VmDetect
{
namespace
{
constexpr std::uint32_t kVendorLeaf = 0;
constexpr std::uint32_t kFeatureLeaf = 1;
constexpr std::uint32_t kHypervisorBit = 1u << 31; // of ECX

constexpr std::uint32_t kSignatureLeaf = 0x40000000; // EAX: the highest leaf of the hypervisor
constexpr std::uint32_t kInterfaceLeaf = 0x40000001;
constexpr std::uint32_t kPrivilegesLeaf = 0x40000003;
constexpr std::uint32_t kSecondSignatureLeaf = 0x40000100;

constexpr std::uint32_t kMicrosoftInterface = 0x31237648; // "Hv#1"
constexpr std::uint32_t kCreatePartitions = 1u << 0;      // of EBX

std::string textOf(std::uint32_t first, std::uint32_t second, std::uint32_t third)
{
    char letters[12];
    std::memcpy(letters, &first, 4);
    std::memcpy(letters + 4, &second, 4);
    std::memcpy(letters + 8, &third, 4);

    std::string text(letters, sizeof letters);
    text.erase(text.find_last_not_of('\0') + 1);
    return text;
}

std::string signatureOf(const CpuidRegisters& registers)
{
    return textOf(registers.ebx, registers.ecx, registers.edx);
}

// Windows on ARM emulates a processor for this program. What that one reports of hypervisors is no fact of the machine.
bool isEmulated(const Cpuid& cpuid)
{
    const CpuidRegisters registers = cpuid(kVendorLeaf);
    const std::string vendor = textOf(registers.ebx, registers.edx, registers.ecx);
    return vendor == "Virtual CPU " || vendor == "MicrosoftXTA";
}

// The privileges are defined only for a hypervisor with Microsoft's interface, and only if it has that leaf.
bool mayCreatePartitions(const Cpuid& cpuid, std::uint32_t highestLeaf)
{
    if (highestLeaf < kPrivilegesLeaf)
        return false;
    if (cpuid(kInterfaceLeaf).eax != kMicrosoftInterface)
        return false;
    return (cpuid(kPrivilegesLeaf).ebx & kCreatePartitions) != 0;
}
}

HypervisorFacts hypervisorFacts(const Cpuid& cpuid)
{
    HypervisorFacts facts;
    facts.present = (cpuid(kFeatureLeaf).ecx & kHypervisorBit) != 0 && !isEmulated(cpuid);
    if (!facts.present)
        return facts;

    const CpuidRegisters first = cpuid(kSignatureLeaf);
    facts.signature = signatureOf(first);
    facts.secondSignature = signatureOf(cpuid(kSecondSignatureLeaf));
    facts.rootPartition = mayCreatePartitions(cpuid, first.eax);
    return facts;
}
}
