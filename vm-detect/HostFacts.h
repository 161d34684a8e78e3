#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The facts of the host that the rules check, each decoded from one raw answer of the platform.
namespace VmDetect
{
struct CpuidRegisters
{
    std::uint32_t eax = 0;
    std::uint32_t ebx = 0;
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
};

using Cpuid = std::function<CpuidRegisters(std::uint32_t leaf)>;

// What the processor reports of hypervisors. All stays empty without the hypervisor bit: without a hypervisor those CPUID leaves
// return data of the highest basic leaf. All stays empty on an emulated processor (Windows on ARM), too.
struct HypervisorFacts
{
    bool present = false;
    std::string signature;       // leaf 0x40000000; twelve letters, spaces kept
    std::string secondSignature; // leaf 0x40000100, where a hypervisor that imitates another one has its own name
    bool rootPartition = false;  // may create partitions: the host of a Hyper-V, not a guest
};

// Strings of the SMBIOS table, trimmed. Of several structures of a type the first counts; chassis and OEM strings all do.
struct FirmwareFacts
{
    std::string biosVendor;
    std::string biosVersion;
    std::string manufacturer;
    std::string product;
    std::string version;
    std::string boardManufacturer;
    std::string boardProduct;
    std::vector<std::string> assetTags;
    std::vector<std::string> oemStrings;
    bool virtualMachine = false; // the bit by which firmware marks a virtual machine
};

struct HostFacts
{
    HypervisorFacts hypervisor;
    FirmwareFacts firmware;
    std::vector<std::string> registryBiosVersions;
};

HypervisorFacts hypervisorFacts(const Cpuid& cpuid);

// From the result of GetSystemFirmwareTable('RSMB'): a header of eight bytes, then the structures. Any bytes will do: the first
// malformed structure ends the table.
FirmwareFacts firmwareFacts(std::span<const std::uint8_t> rawTable);

// The strings of a REG_MULTI_SZ value, trimmed, without empty ones.
std::vector<std::string> multiStringTexts(std::string_view value);
}
