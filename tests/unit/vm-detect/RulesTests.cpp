#include "vm-detect/Rules.h"

#include "vm-detect/HostFacts.h"

#include <gtest/gtest.h>

#include <ostream>

namespace
{
using namespace VmDetect;

enum Processor
{
    bare,         // no hypervisor bit
    guest,        // the bit
    microsoftRoot // the bit and the right to create partitions
};

struct Machine
{
    const char* what;
    int expected;
    const char* maker = "";
    const char* product = "";
    const char* version = "";
    const char* biosVendor = "";
    const char* biosVersion = "";
    Processor processor = bare;
    const char* signature = "";
    const char* secondSignature = "";
    const char* assetTag = "";
    const char* oemString = "";
    const char* registryBiosVersion = "";
    const char* boardMaker = "";
    const char* boardProduct = "";
    bool virtualMachineBit = false;
};

constexpr char kMicrosoft[] = "Microsoft Hv";
constexpr char kKvm[] = "KVMKVMKVM";
constexpr char kAzureTag[] = "7783-7084-3265-9085-8269-3286-77";

HostFacts factsOf(const Machine& machine)
{
    HostFacts facts;
    facts.hypervisor.present = machine.processor != bare;
    facts.hypervisor.rootPartition = machine.processor == microsoftRoot;
    facts.hypervisor.signature = machine.signature;
    facts.hypervisor.secondSignature = machine.secondSignature;
    facts.firmware.biosVendor = machine.biosVendor;
    facts.firmware.biosVersion = machine.biosVersion;
    facts.firmware.maker = machine.maker;
    facts.firmware.product = machine.product;
    facts.firmware.version = machine.version;
    facts.firmware.boardMaker = machine.boardMaker;
    facts.firmware.boardProduct = machine.boardProduct;
    facts.firmware.assetTags = {"Not Specified", machine.assetTag};
    facts.firmware.oemStrings = {"Default string", machine.oemString};
    facts.firmware.virtualMachine = machine.virtualMachineBit;
    facts.registryBiosVersions = {machine.registryBiosVersion};
    return facts;
}

template <std::size_t Count>
void expectTypes(const Machine (&machines)[Count])
{
    for (const Machine& machine : machines)
        EXPECT_EQ(static_cast<int>(hypervisorType(factsOf(machine))), machine.expected) << machine.what;
}

TEST(VmRules, PhysicalMachinesStayPhysical)
{
    const Machine machines[] = {
        {.what = "nothing known", .expected = 0},
        {.what = "laptop", .expected = 0, .maker = "LENOVO", .product = "20L5CTO1WW", .biosVendor = "LENOVO",
         .biosVersion = "N24ET56W (1.31 )"},
        {.what = "desktop with Hyper-V or memory integrity on", .expected = 0, .maker = "Dell Inc.", .product = "OptiPlex 7080",
         .processor = microsoftRoot, .signature = kMicrosoft},
        {.what = "Surface", .expected = 0, .maker = "Microsoft Corporation", .product = "Surface Pro 7+",
         .biosVendor = "Microsoft Corporation"},
        {.what = "Surface with memory integrity on", .expected = 0, .maker = "Microsoft Corporation",
         .product = "Surface Laptop 4", .processor = microsoftRoot, .signature = kMicrosoft},
        {.what = "another maker's product of that name", .expected = 0, .maker = "Contoso", .product = "Virtual Machine"},
        {.what = "guarded by a security hypervisor", .expected = 0, .maker = "HP", .product = "HP EliteBook 840 G8",
         .processor = guest, .signature = "SRESRESRESRE"},
        {.what = "guarded by another", .expected = 0, .maker = "Panasonic Corporation", .product = "CF-33-1",
         .processor = guest, .signature = "EVMMEVMMEVMM"},
        {.what = "EC2 bare metal", .expected = 0, .maker = "Amazon EC2", .product = "i3.metal", .biosVendor = "Amazon EC2",
         .biosVersion = "1.0"},
        {.what = "EC2 bare metal with Hyper-V on", .expected = 0, .maker = "Amazon EC2", .product = "m7i.metal-24xl",
         .processor = microsoftRoot, .signature = kMicrosoft},
        {.what = "Google bare metal", .expected = 0, .maker = "Google", .product = "Google Compute Engine",
         .biosVendor = "Google"},
        {.what = "Google bare metal with Hyper-V on", .expected = 0, .maker = "Google", .product = "Google Compute Engine",
         .processor = microsoftRoot, .signature = kMicrosoft},
        {.what = "Chromebook", .expected = 0, .maker = "Google", .product = "Babytiger", .biosVendor = "coreboot"},
        {.what = "Oracle server", .expected = 0, .maker = "Oracle Corporation", .product = "ORACLE SERVER X5-2",
         .boardMaker = "Oracle Corporation"},
        {.what = "Nutanix node", .expected = 0, .maker = "Nutanix", .product = "NX-3060-G5"},
        {.what = "Nutanix node sold for AHV", .expected = 0, .maker = "Nutanix", .product = "NX-1065 AHV"},
        {.what = "HC3 node", .expected = 0, .maker = "Scale Computing", .product = "HC1200"},
        {.what = "letters of HC3", .expected = 0, .maker = "Contoso", .product = "LHC300"},
        {.what = "HCI appliance", .expected = 0, .maker = "Contoso", .product = "Rack HCI 200"},
        {.what = "HCI appliance with Hyper-V on", .expected = 0, .maker = "Contoso", .product = "Rack HCI 200",
         .processor = microsoftRoot, .signature = kMicrosoft},
        {.what = "server sold for KVM", .expected = 0, .maker = "Contoso", .product = "KVM Server 2U"},
        {.what = "letters of VMware inside a BIOS version", .expected = 0, .maker = "LENOVO", .product = "20XXS0AB00",
         .biosVersion = "N3VMW35W (1.16 )"},
        {.what = "letters of VMware inside another name", .expected = 0, .maker = "Contoso", .product = "Ready for VMware"},
        {.what = "other names inside", .expected = 0, .maker = "Not QEMU", .product = "Ready for OpenStack and VirtualBox"},
        {.what = "maker that begins like Xen", .expected = 0, .maker = "XENON", .product = "Nitro G8", .biosVendor = "Xenta"},
        {.what = "coreboot with the BIOS that QEMU has too", .expected = 0, .maker = "PC Engines", .product = "apu2",
         .biosVendor = "SeaBIOS"},
        {.what = "another case of letters", .expected = 0, .maker = "vmware", .product = "virtualbox", .biosVendor = "qemu"},
        {.what = "a board's name beside a system's", .expected = 0, .maker = "ASUSTeK", .product = "PRIME",
         .boardMaker = "Microsoft Corporation", .boardProduct = "Virtual Machine"},
        {.what = "an old BIOS's number of Virtual PC", .expected = 0, .maker = "Contoso",
         .registryBiosVersion = "ACME - 9000816"},
    };
    expectTypes(machines);
}

TEST(VmRules, GuestsAreNamedByTheirFirmware)
{
    const Machine machines[] = {
        {.what = "VMware", .expected = 5, .maker = "VMware, Inc.", .product = "VMware Virtual Platform",
         .biosVendor = "Phoenix Technologies LTD", .biosVersion = "6.00", .processor = guest, .signature = "VMwareVMware"},
        {.what = "VMware by the product", .expected = 5, .maker = "Contoso", .product = "VMware7,1"},
        {.what = "VMware by the BIOS vendor", .expected = 5, .maker = "Dell Inc.", .biosVendor = "VMware, Inc."},
        {.what = "VMware by the BIOS version", .expected = 5, .maker = "Dell Inc.",
         .biosVersion = "VMW71.00V.24504846.B64.2501180334"},
        {.what = "VMware that runs Hyper-V itself", .expected = 5, .maker = "VMware, Inc.", .product = "VMware20,1",
         .processor = microsoftRoot, .signature = kMicrosoft},
        {.what = "Azure", .expected = 22, .maker = "Microsoft Corporation", .product = "Virtual Machine", .version = "7.0",
         .processor = guest, .signature = kMicrosoft, .assetTag = kAzureTag},
        {.what = "Azure with credential guard", .expected = 22, .maker = "Microsoft Corporation", .product = "Virtual Machine",
         .processor = microsoftRoot, .signature = kMicrosoft, .assetTag = kAzureTag},
        {.what = "EC2 on Nitro", .expected = 21, .maker = "Amazon EC2", .product = "t3.medium", .biosVendor = "Amazon EC2",
         .processor = guest, .signature = kKvm},
        {.what = "EC2 on Xen", .expected = 21, .maker = "Xen", .product = "HVM domU", .version = "4.2.amazon",
         .biosVendor = "Xen", .biosVersion = "4.2.amazon", .processor = guest, .signature = "XenVMMXenVMM"},
        {.what = "oVirt", .expected = 18, .maker = "oVirt", .product = "oVirt Node", .processor = guest, .signature = kKvm},
        {.what = "RHEV", .expected = 18, .maker = "Red Hat", .product = "RHEV Hypervisor", .biosVendor = "SeaBIOS",
         .processor = guest, .signature = kKvm},
        {.what = "Scale", .expected = 25, .maker = "Scale Computing", .product = "HC3 VM", .processor = guest, .signature = kKvm},
        {.what = "Scale by the maker", .expected = 25, .maker = "Scale Computing", .processor = guest, .signature = kKvm},
        {.what = "HC3 alone", .expected = 25, .product = "Virtual HC3", .processor = guest, .signature = kKvm},
        {.what = "HCI", .expected = 23, .maker = "Contoso-HCI", .processor = guest, .signature = kKvm},
        {.what = "HCI within a word, then as one", .expected = 23, .product = "HCIX HCI", .processor = guest, .signature = kKvm},
        {.what = "HCI within words only", .expected = 17, .maker = "XHCI", .product = "HCI7", .processor = guest,
         .signature = kKvm},
        {.what = "Virtuozzo", .expected = 16, .maker = "Parallels", .product = "Virtuozzo", .processor = guest},
        {.what = "Parallels Cloud Server", .expected = 20, .maker = "Parallels", .product = "Parallels Cloud Server 6",
         .processor = guest},
        {.what = "Parallels with KVM's signature", .expected = 9, .maker = "Parallels Software International Inc.",
         .product = "Parallels Virtual Platform", .version = "None", .processor = guest, .signature = kKvm},
        {.what = "VirtualBox with KVM's signature", .expected = 15, .maker = "innotek GmbH", .product = "VirtualBox",
         .biosVendor = "innotek GmbH", .biosVersion = "VirtualBox", .processor = guest, .signature = kKvm},
        {.what = "VirtualBox of Oracle's name", .expected = 15, .maker = "Oracle Corporation", .product = "VirtualBox"},
        {.what = "VirtualBox by its BIOS vendor", .expected = 15, .maker = "LENOVO", .biosVendor = "innotek GmbH"},
        {.what = "VirtualBox renamed", .expected = 15, .maker = "LENOVO", .product = "20L5CTO1WW",
         .oemString = "vboxVer_7.0.14"},
        {.what = "VirtualBox by the board", .expected = 15, .boardMaker = "Oracle Corporation", .boardProduct = "VirtualBox"},
        {.what = "Oracle VM", .expected = 19, .maker = "Xen", .product = "HVM domU", .version = "4.4.4OVM",
         .biosVendor = "Xen", .biosVersion = "4.4.4OVM", .processor = guest, .signature = "XenVMMXenVMM"},
        {.what = "Xen", .expected = 13, .maker = "Xen", .product = "HVM domU", .version = "4.17", .biosVendor = "Xen"},
        {.what = "Xen by the BIOS vendor", .expected = 13, .maker = "Contoso", .biosVendor = "Xen"},
        {.what = "Xen by the product", .expected = 13, .maker = "Contoso", .product = "HVM domU"},
        {.what = "Oracle VM by the BIOS vendor", .expected = 19, .biosVendor = "Xen", .biosVersion = "4.4.4OVM"},
        {.what = "Oracle VM by the product", .expected = 19, .product = "HVM domU", .version = "3.4OVM"},
        {.what = "KVM Server", .expected = 24, .maker = "Contoso", .product = "KVM Server", .processor = guest,
         .signature = kKvm},
        {.what = "QEMU without its processor's word", .expected = 17, .maker = "QEMU",
         .product = "Standard PC (Q35 + ICH9, 2009)"},
        {.what = "old QEMU", .expected = 17, .maker = "Not Specified", .biosVendor = "QEMU", .biosVersion = "QEMU"},
        {.what = "Bochs", .expected = 17, .maker = "Bochs", .product = "Bochs"},
        {.what = "Red Hat", .expected = 17, .maker = "Red Hat", .product = "KVM"},
        {.what = "OpenStack", .expected = 17, .maker = "RDO", .product = "OpenStack Compute"},
        {.what = "Google", .expected = 17, .maker = "Google", .product = "Google Compute Engine", .processor = guest,
         .signature = kKvm},
        {.what = "Google behind the mask of Hyper-V", .expected = 17, .maker = "Google", .product = "Google Compute Engine",
         .processor = guest, .signature = kMicrosoft},
        {.what = "Nutanix, with the mask of Hyper-V", .expected = 17, .maker = "Nutanix", .product = "AHV", .processor = guest,
         .signature = kMicrosoft},
        {.what = "Hyper-V", .expected = 8, .maker = "Microsoft Corporation", .product = "Virtual Machine",
         .biosVersion = "090008", .processor = guest, .signature = kMicrosoft, .registryBiosVersion = "VRTUAL - 12001807"},
        {.what = "Hyper-V that runs Hyper-V itself", .expected = 8, .maker = "Microsoft Corporation",
         .product = "Virtual Machine", .processor = microsoftRoot, .signature = kMicrosoft},
        {.what = "Hyper-V by the board", .expected = 8, .boardMaker = "Microsoft Corporation", .boardProduct = "Virtual Machine"},
        {.what = "Virtual PC", .expected = 7, .maker = "Microsoft Corporation", .product = "Virtual Machine",
         .biosVersion = "080002", .registryBiosVersion = "A M I  - 9000816"},
        {.what = "Virtual PC, later", .expected = 7, .maker = "Microsoft Corporation", .product = "Virtual Machine",
         .registryBiosVersion = "A M I  - 6000901"},
        {.what = "Virtual Server", .expected = 6, .maker = "Microsoft Corporation", .product = "Virtual Machine",
         .registryBiosVersion = "A M I  - 9000520"},
        {.what = "VMware, its BIOS version in the registry alone", .expected = 5, .registryBiosVersion = "VMW71.00V.1"},
        {.what = "the registry counts only where the firmware is silent", .expected = 0, .biosVersion = "1.31",
         .registryBiosVersion = "VMW71.00V.1"},
        {.what = "firmware that says so", .expected = 10, .maker = "EFI Development Kit", .virtualMachineBit = true},
    };
    expectTypes(machines);
}

TEST(VmRules, TheProcessorDecidesWhereTheFirmwareIsSilent)
{
    const Machine machines[] = {
        {.what = "VMware", .expected = 5, .processor = guest, .signature = "VMwareVMware"},
        {.what = "Parallels", .expected = 9, .processor = guest, .signature = " lrpepyh  vr"},
        {.what = "Parallels, newer", .expected = 9, .processor = guest, .signature = " prl hyperv "},
        {.what = "VirtualBox", .expected = 15, .processor = guest, .signature = "VBoxVBoxVBox"},
        {.what = "Xen", .expected = 13, .processor = guest, .signature = "XenVMMXenVMM"},
        {.what = "Xen behind the mask of Hyper-V", .expected = 13, .processor = guest, .signature = kMicrosoft,
         .secondSignature = "XenVMMXenVMM"},
        {.what = "Oracle VM", .expected = 19, .version = "3.4OVM", .processor = guest, .signature = "XenVMMXenVMM"},
        {.what = "QEMU that interprets", .expected = 10, .maker = "QEMU", .processor = guest, .signature = "TCGTCGTCGTCG"},
        {.what = "KVM", .expected = 17, .processor = guest, .signature = kKvm},
        {.what = "KVM behind the mask of Hyper-V", .expected = 17, .maker = "Alibaba Cloud", .product = "Alibaba Cloud ECS",
         .processor = guest, .signature = kMicrosoft, .secondSignature = kKvm},
        {.what = "KVM that speaks Microsoft's interface", .expected = 17, .processor = guest, .signature = "Linux KVM Hv"},
        {.what = "Hyper-V", .expected = 8, .maker = "Dell Inc.", .processor = guest, .signature = kMicrosoft},
        {.what = "the right to create partitions under another hypervisor", .expected = 10, .processor = microsoftRoot,
         .signature = "bhyve bhyve "},
        {.what = "one that hides its name", .expected = 10, .processor = guest},
        {.what = "a signature with more letters", .expected = 10, .processor = guest, .signature = "xKVMKVMKVM"},
    };
    expectTypes(machines);
}
}
