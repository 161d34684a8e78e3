#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What is known of the host before it is judged: plain facts, each decoded from one raw answer of the platform.
namespace VmDetect
{
struct CpuidRegisters
{
    std::uint32_t eax = 0;
    std::uint32_t ebx = 0;
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
};

using Cpuid = CpuidRegisters (*)(std::uint32_t leaf);

// The processor's word on hypervisors. Without the hypervisor bit everything else stays empty: a bare processor answers the
// hypervisor's leaves with leftovers of another leaf. An emulated processor has no word: on Windows on ARM all stays empty.
struct HypervisorFacts
{
    bool present = false;
    std::string signature;       // leaf 0x40000000; twelve letters, blanks kept
    std::string secondSignature; // leaf 0x40000100, where a hypervisor that plays another one tells its own name
    bool rootPartition = false;  // this system may create partitions: it is the host of a Hyper-V, not a guest
};

// Texts of the SMBIOS table, trimmed. Of several structures of a kind the first counts; chassis and OEM strings all do.
struct FirmwareFacts
{
    std::string biosVendor;
    std::string biosVersion;
    std::string maker;
    std::string product;
    std::string version;
    std::string boardMaker;
    std::string boardProduct;
    std::vector<std::string> assetTags;
    std::vector<std::string> oemStrings;
    bool virtualMachine = false; // the firmware says that the table describes a virtual machine
};

struct HostFacts
{
    HypervisorFacts hypervisor;
    FirmwareFacts firmware;
    std::vector<std::string> registryBiosVersions;
};

HypervisorFacts hypervisorFacts(Cpuid cpuid);

// From an answer of GetSystemFirmwareTable('RSMB'): eight bytes of head, then the structures. Any bytes will do; what is
// malformed ends the table there.
FirmwareFacts firmwareFacts(std::span<const std::uint8_t> rawTable);

// The texts of a REG_MULTI_SZ value, trimmed, without empty ones.
std::vector<std::string> multiStringTexts(std::string_view value);
}
