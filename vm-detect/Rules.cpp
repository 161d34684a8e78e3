#include "vm-detect/Rules.h"

#include "vm-detect/HostFacts.h"

#include <algorithm>

namespace VmDetect
{
namespace
{
using Texts = std::vector<std::string_view>;

// Where a clue is searched for. Type 2 stands in where type 1 names neither manufacturer nor product. The two are never mixed:
// several rules check the pair.
bool hasSystemNames(const FirmwareFacts& firmware)
{
    return !firmware.manufacturer.empty() || !firmware.product.empty();
}

Texts manufacturer(const HostFacts& facts)
{
    return {hasSystemNames(facts.firmware) ? facts.firmware.manufacturer : facts.firmware.boardManufacturer};
}

Texts product(const HostFacts& facts)
{
    return {hasSystemNames(facts.firmware) ? facts.firmware.product : facts.firmware.boardProduct};
}

Texts joined(Texts texts, const Texts& more)
{
    texts.insert(texts.end(), more.begin(), more.end());
    return texts;
}

Texts machine(const HostFacts& facts)
{
    return joined(manufacturer(facts), product(facts));
}

Texts biosVendor(const HostFacts& facts)
{
    return {facts.firmware.biosVendor};
}

Texts manufacturerOrBios(const HostFacts& facts)
{
    return joined(manufacturer(facts), biosVendor(facts));
}

Texts anyName(const HostFacts& facts)
{
    return joined(machine(facts), biosVendor(facts));
}

Texts registryBiosVersions(const HostFacts& facts)
{
    return Texts(facts.registryBiosVersions.begin(), facts.registryBiosVersions.end());
}

Texts biosVersion(const HostFacts& facts)
{
    return facts.firmware.biosVersion.empty() ? registryBiosVersions(facts) : Texts{facts.firmware.biosVersion};
}

Texts anyVersion(const HostFacts& facts)
{
    return joined(biosVersion(facts), {facts.firmware.version});
}

// Virtual PC and Virtual Server differ in the ACPI name alone, which reaches the registry but not SMBIOS.
Texts biosName(const HostFacts& facts)
{
    return joined(registryBiosVersions(facts), {facts.firmware.biosVersion});
}

Texts assetTag(const HostFacts& facts)
{
    return Texts(facts.firmware.assetTags.begin(), facts.firmware.assetTags.end());
}

Texts oemString(const HostFacts& facts)
{
    return Texts(facts.firmware.oemStrings.begin(), facts.firmware.oemStrings.end());
}

Texts signature(const HostFacts& facts)
{
    return {facts.hypervisor.signature, facts.hypervisor.secondSignature};
}

// How a clue is compared: always with the case as written.
bool equals(std::string_view text, std::string_view clue)
{
    return text == clue;
}

bool startsWith(std::string_view text, std::string_view clue)
{
    return text.starts_with(clue);
}

bool contains(std::string_view text, std::string_view clue)
{
    return text.find(clue) != std::string_view::npos;
}

bool isLetterOrDigit(char letter)
{
    return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z');
}

bool hasWord(std::string_view text, std::string_view clue)
{
    for (std::size_t at = text.find(clue); at != std::string_view::npos; at = text.find(clue, at + 1))
    {
        const std::size_t end = at + clue.size();
        const bool startsWord = at == 0 || !isLetterOrDigit(text[at - 1]);
        const bool endsWord = end == text.size() || !isLetterOrDigit(text[end]);
        if (startsWord && endsWord)
            return true;
    }
    return false;
}

// When a rule applies.
bool always(const HostFacts&)
{
    return true;
}

bool isMicrosoftRoot(const HostFacts& facts)
{
    return facts.hypervisor.rootPartition && facts.hypervisor.signature == "Microsoft Hv";
}

// Thin hypervisors of endpoint security on bare metal.
bool isSecurityHypervisor(const HostFacts& facts)
{
    const std::string& name = facts.hypervisor.signature;
    return name == "SRESRESRESRE" || name == "EVMMEVMMEVMM";
}

bool onHypervisor(const HostFacts& facts)
{
    return facts.hypervisor.present;
}

// For names that physical machines have as well: vendor appliances named like their guests, bare metal of a cloud.
bool asGuest(const HostFacts& facts)
{
    return onHypervisor(facts) && !isMicrosoftRoot(facts) && !isSecurityHypervisor(facts);
}

// Whether a manufacturer filled the firmware's names in, if only with the placeholders that boards are sold with. Firmware of
// hypervisors names itself at most; the public one for guests has these names.
bool namesManufacturer(const FirmwareFacts& firmware)
{
    for (const std::string_view guestFirmware : {"EFI Development Kit", "SeaBIOS"})
        if (firmware.manufacturer.starts_with(guestFirmware) || firmware.biosVendor.starts_with(guestFirmware))
            return false;
    return !firmware.manufacturer.empty() || !firmware.boardManufacturer.empty();
}

// One fact alone occurs on physical machines: a thin security hypervisor that has no row here, a mark set by mistake, a table
// without names. Physical is the lesser error: it withholds nothing of a real machine.
bool twoFactsMeanVirtual(const HostFacts& facts)
{
    return facts.hypervisor.present + facts.firmware.virtualMachine + !namesManufacturer(facts.firmware) >= 2;
}

struct Clue
{
    Texts (*where)(const HostFacts&) = nullptr;
    bool (*how)(std::string_view text, std::string_view clue) = nullptr;
    std::string_view text;
};

// Every clue given must be found.
struct Rule
{
    HypervisorType type;
    bool (*when)(const HostFacts&);
    Clue clues[3] = {};
};

using Type = HypervisorType;

constexpr Clue kByMicrosoft{manufacturer, equals, "Microsoft Corporation"};
constexpr Clue kVirtualMachine{product, equals, "Virtual Machine"};
constexpr Clue kOracleVersion{anyVersion, contains, "OVM"};

// The first rule that matches decides. Firmware names come before the signatures of the processor: a guest that runs Hyper-V
// itself has the signature of a Hyper-V host, and KVM's signature is shown by VirtualBox and Parallels too.
constexpr Rule kRules[] = {
    // Amazon's bare metal has the manufacturer of its virtual machines.
    {Type::physical, always, {{manufacturerOrBios, equals, "Amazon EC2"}, {product, contains, ".metal"}}},

    {Type::vmware, always, {{anyName, startsWith, "VMware"}}},
    // VMware's own versions start with it ("VMW71.00V..."); inside another vendor's version the three letters mean nothing.
    {Type::vmware, always, {{biosVersion, startsWith, "VMW"}}},
    {Type::vmware, always, {{signature, equals, "VMwareVMware"}}},

    {Type::azure, always, {{assetTag, equals, "7783-7084-3265-9085-8269-3286-77"}}},

    {Type::amazon, always, {{manufacturerOrBios, equals, "Amazon EC2"}}},
    {Type::amazon, always, {{biosVersion, contains, "amazon"}}},

    {Type::rhev, always, {{machine, contains, "oVirt"}}},
    {Type::rhev, always, {{product, startsWith, "RHEV"}}},

    // No public dump of a guest is known for HC3. The appliances themselves have the manufacturer's name.
    {Type::scaleHC3, asGuest, {{manufacturer, startsWith, "Scale Computing"}}},
    {Type::scaleHC3, asGuest, {{product, contains, "HC3"}}},
    // No public dump is known. Hyperconverged appliances are sold with these letters in their names, and may run Windows.
    {Type::hci, asGuest, {{machine, hasWord, "HCI"}}},

    // No public dump is known for these two.
    {Type::virtuozzo, always, {{anyName, contains, "Virtuozzo"}}},
    {Type::parallelsCloudServer, always, {{anyName, contains, "Parallels Cloud Server"}}},
    {Type::parallels, always, {{anyName, contains, "Parallels"}}},
    {Type::parallels, always, {{signature, equals, " lrpepyh  vr"}}},
    {Type::parallels, always, {{signature, equals, " prl hyperv "}}},
    {Type::parallels, always, {{signature, equals, "prl hyperv  "}}},

    {Type::virtualBox, always, {{manufacturerOrBios, equals, "innotek GmbH"}}},
    {Type::virtualBox, always, {{product, equals, "VirtualBox"}}},
    {Type::virtualBox, always, {{signature, equals, "VBoxVBoxVBox"}}},
    {Type::virtualBox, always, {{oemString, startsWith, "vboxVer_"}}},

    // The manufacturer of Oracle's physical servers is "Oracle Corporation", that of its virtual machines "Xen".
    {Type::oracleVM, always, {{manufacturerOrBios, equals, "Xen"}, kOracleVersion}},
    {Type::oracleVM, always, {{product, equals, "HVM domU"}, kOracleVersion}},
    {Type::oracleVM, always, {{signature, equals, "XenVMMXenVMM"}, kOracleVersion}},
    {Type::xen, always, {{manufacturerOrBios, equals, "Xen"}}},
    {Type::xen, always, {{product, equals, "HVM domU"}}},
    {Type::xen, always, {{signature, equals, "XenVMMXenVMM"}}},

    // No public dump is known; the words suit a server for KVM as well as one on it.
    {Type::kvmServer, asGuest, {{product, contains, "KVM Server"}}},

    // QEMU without KVM (TCG): the manufacturer is QEMU as under KVM.
    {Type::unknown, always, {{signature, equals, "TCGTCGTCGTCG"}}},

    {Type::kvm, always, {{signature, equals, "KVMKVMKVM"}}},
    {Type::kvm, always, {{signature, equals, "Linux KVM Hv"}}},
    {Type::kvm, always, {{manufacturerOrBios, equals, "QEMU"}}},
    {Type::kvm, always, {{manufacturerOrBios, equals, "Bochs"}}},
    {Type::kvm, always, {{product, equals, "KVM"}}},
    {Type::kvm, always, {{machine, startsWith, "OpenStack"}}},
    // Google's bare metal has the same product, and neither kind sets the firmware's mark.
    {Type::kvm, asGuest, {{product, equals, "Google Compute Engine"}}},
    // Nutanix makes servers too.
    {Type::kvm, always, {{manufacturer, equals, "Nutanix"}, {product, equals, "AHV"}}},

    // Both names: Surface machines have the same manufacturer.
    {Type::virtualPC, always, {kByMicrosoft, kVirtualMachine, {biosName, contains, "- 9000816"}}},
    {Type::virtualPC, always, {kByMicrosoft, kVirtualMachine, {biosName, contains, "- 6000901"}}},
    {Type::virtualServer, always, {kByMicrosoft, kVirtualMachine, {biosName, contains, "- 9000520"}}},
    {Type::hyperV, always, {kByMicrosoft, kVirtualMachine}},

    // Hyper-V or virtualisation-based security is on, and Windows runs as its root partition.
    {Type::physical, isMicrosoftRoot},
    {Type::hyperV, always, {{signature, equals, "Microsoft Hv"}}},

    // Hypervisors of guests only, that have no type of their own.
    {Type::unknown, always, {{signature, equals, "bhyve bhyve "}}},
    {Type::unknown, always, {{signature, equals, "ACRNACRNACRN"}}},
    {Type::unknown, always, {{signature, contains, "QNXQVMBSQG"}}}, // written with and without spaces around it

    {Type::physical, isSecurityHypervisor},
    {Type::unknown, twoFactsMeanVirtual},
};

bool isFound(const Clue& clue, const HostFacts& facts)
{
    if (clue.where == nullptr)
        return true;
    const Texts texts = clue.where(facts);
    return std::any_of(texts.begin(), texts.end(), [&](std::string_view text) { return clue.how(text, clue.text); });
}

bool matches(const Rule& rule, const HostFacts& facts)
{
    return rule.when(facts) &&
           std::all_of(std::begin(rule.clues), std::end(rule.clues), [&](const Clue& clue) { return isFound(clue, facts); });
}
}

HypervisorType hypervisorType(const HostFacts& facts)
{
    const auto rule = std::find_if(std::begin(kRules), std::end(kRules), [&](const Rule& rule) { return matches(rule, facts); });
    return rule == std::end(kRules) ? HypervisorType::physical : rule->type;
}
}
