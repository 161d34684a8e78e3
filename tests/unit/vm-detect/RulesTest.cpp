#include "vm-detect/Rules.h"

#include "vm-detect/HostFacts.h"

#include <gtest/gtest.h>

namespace
{
using namespace VmDetect;

enum Processor
{
    bare,         // no hypervisor bit
    guest,        // the bit
    microsoftRoot // the bit and the right to create partitions: Hyper-V or memory integrity is on
};

struct Machine
{
    int type;
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

const Machine kMachines[] = {
    // Physical machines. Names that begin or end like a hypervisor's mean nothing, nor do those of appliances for one.
    {.type = 0},
    {.type = 0, .maker = "Dell Inc.", .product = "OptiPlex 7080", .processor = microsoftRoot, .signature = kMicrosoft},
    {.type = 0,
     .maker = "Microsoft Corporation",
     .product = "Surface Laptop 4",
     .processor = microsoftRoot,
     .signature = kMicrosoft},
    {.type = 0, .maker = "Contoso", .product = "Virtual Machine"},
    {.type = 0, .maker = "HP", .processor = guest, .signature = "SRESRESRESRE"},
    {.type = 0, .maker = "Panasonic Corporation", .processor = guest, .signature = "EVMMEVMMEVMM"},
    {.type = 0, .maker = "Amazon EC2", .product = "i3.metal"},          // bare metal
    {.type = 0, .maker = "Google", .product = "Google Compute Engine"}, // bare metal
    {.type = 0, .maker = "Oracle Corporation", .product = "ORACLE SERVER X5-2", .boardMaker = "Oracle Corporation"},
    {.type = 0, .maker = "Nutanix", .product = "NX-3060-G5"},
    {.type = 0, .maker = "Nutanix", .product = "NX-1065 AHV"},
    {.type = 0, .maker = "Scale Computing", .product = "HC1200"},
    {.type = 0, .maker = "Contoso", .product = "LHC300"},
    {.type = 0, .maker = "Contoso", .product = "Rack HCI 200"},
    {.type = 0, .maker = "Contoso", .product = "Rack HCI 200", .processor = microsoftRoot, .signature = kMicrosoft},
    {.type = 0, .maker = "Contoso", .product = "KVM Server 2U"},
    // A version that happens to have these letters.
    {.type = 0, .maker = "LENOVO", .product = "20XXS0AB00", .biosVersion = "N3VMW35W (1.16 )"},
    {.type = 0, .maker = "Contoso", .product = "Ready for VMware"},
    {.type = 0, .maker = "Not QEMU", .product = "Ready for OpenStack and VirtualBox"},
    {.type = 0, .maker = "XENON", .product = "Nitro G8", .biosVendor = "Xenta"},
    {.type = 0, .maker = "vmware", .product = "virtualbox", .biosVendor = "qemu"},
    // The board counts only where the system has no name.
    {.type = 0, .maker = "ASUSTeK", .product = "PRIME", .boardMaker = "Microsoft Corporation", .boardProduct = "Virtual Machine"},
    {.type = 0, .maker = "Contoso", .registryBiosVersion = "ACME - 9000816"},
    // A single odd fact: a security hypervisor that is not listed, the firmware's mark, a table without names.
    {.type = 0, .maker = "LENOVO", .product = "20L8S07A14", .processor = guest, .signature = "ThinThinThin"},
    {.type = 0, .maker = "Dell Inc.", .product = "OptiPlex 7080", .virtualMachineBit = true},
    {.type = 0, .maker = "To Be Filled By O.E.M.", .processor = guest, .boardMaker = "ASRock"},
    {.type = 0, .product = "Barebone", .boardMaker = "ASRock", .virtualMachineBit = true},
    {.type = 0, .biosVendor = "SeaBIOS"},
    {.type = 0, .biosVersion = "1.31", .registryBiosVersion = "VMW71.00V.1"},
    // Guests, by their firmware.
    {.type = 5, .maker = "Contoso", .product = "VMware7,1"},
    {.type = 5, .maker = "Dell Inc.", .biosVendor = "VMware, Inc."},
    {.type = 5, .maker = "Dell Inc.", .biosVersion = "VMW71.00V.24504846.B64.2501180334"},
    {.type = 5, .maker = "VMware, Inc.", .product = "VMware20,1", .processor = microsoftRoot, .signature = kMicrosoft},
    {.type = 22,
     .maker = "Microsoft Corporation",
     .product = "Virtual Machine",
     .processor = microsoftRoot,
     .signature = kMicrosoft,
     .assetTag = kAzureTag},
    {.type = 21, .maker = "Amazon EC2", .product = "t3.medium", .processor = guest, .signature = kKvm},
    {.type = 21, .maker = "Xen", .product = "HVM domU", .biosVersion = "4.2.amazon"},
    {.type = 18, .maker = "oVirt"},
    {.type = 18, .maker = "Red Hat", .product = "RHEV Hypervisor"},
    {.type = 25, .maker = "Scale Computing", .processor = guest, .signature = kKvm},
    {.type = 25, .product = "Virtual HC3", .processor = guest, .signature = kKvm},
    {.type = 23, .maker = "Contoso-HCI", .processor = guest, .signature = kKvm},
    {.type = 23, .product = "HCIX HCI", .processor = guest, .signature = kKvm},
    {.type = 17, .maker = "XHCI", .product = "HCI7", .processor = guest, .signature = kKvm},
    {.type = 16, .maker = "Parallels", .product = "Virtuozzo"},
    {.type = 20, .maker = "Parallels", .product = "Parallels Cloud Server 6"},
    {.type = 9,
     .maker = "Parallels Software International Inc.",
     .product = "Parallels Virtual Platform",
     .processor = guest,
     .signature = kKvm},
    {.type = 15, .maker = "innotek GmbH", .processor = guest, .signature = kKvm},
    {.type = 15, .maker = "Oracle Corporation", .product = "VirtualBox"},
    {.type = 15, .maker = "LENOVO", .biosVendor = "innotek GmbH"},
    {.type = 15, .maker = "LENOVO", .product = "20L5CTO1WW", .oemString = "vboxVer_7.0.14"},
    {.type = 15, .boardMaker = "Oracle Corporation", .boardProduct = "VirtualBox"},
    {.type = 13, .maker = "Contoso", .biosVendor = "Xen"},
    {.type = 13, .maker = "Contoso", .product = "HVM domU"},
    {.type = 19, .biosVendor = "Xen", .biosVersion = "4.4.4OVM"},
    {.type = 19, .product = "HVM domU", .version = "3.4OVM"},
    {.type = 24, .maker = "Contoso", .product = "KVM Server", .processor = guest, .signature = kKvm},
    {.type = 17, .maker = "QEMU"},
    {.type = 17, .maker = "Not Specified", .biosVendor = "QEMU"},
    {.type = 17, .maker = "Bochs"},
    {.type = 17, .maker = "Red Hat", .product = "KVM"},
    {.type = 17, .maker = "RDO", .product = "OpenStack Compute"},
    {.type = 17, .maker = "Google", .product = "Google Compute Engine", .processor = guest, .signature = kMicrosoft},
    {.type = 17, .maker = "Nutanix", .product = "AHV", .processor = guest, .signature = kMicrosoft},
    {.type = 8,
     .maker = "Microsoft Corporation",
     .product = "Virtual Machine",
     .processor = microsoftRoot,
     .signature = kMicrosoft},
    {.type = 8, .boardMaker = "Microsoft Corporation", .boardProduct = "Virtual Machine"},
    {.type = 7, .maker = "Microsoft Corporation", .product = "Virtual Machine", .registryBiosVersion = "A M I  - 9000816"},
    {.type = 7, .maker = "Microsoft Corporation", .product = "Virtual Machine", .registryBiosVersion = "A M I  - 6000901"},
    {.type = 6, .maker = "Microsoft Corporation", .product = "Virtual Machine", .registryBiosVersion = "A M I  - 9000520"},
    {.type = 5, .registryBiosVersion = "VMW71.00V.1"},
    {.type = 10, .maker = "EFI Development Kit", .virtualMachineBit = true},
    {.type = 10, .maker = "Contoso", .biosVendor = "EFI Development Kit II / OVMF", .virtualMachineBit = true},
    {.type = 10, .maker = "Contoso", .biosVendor = "SeaBIOS", .processor = guest},
    {.type = 10, .maker = "Contoso", .processor = guest, .virtualMachineBit = true},
    // Guests whose firmware is silent, by the processor. Several wear the mask of Hyper-V.
    {.type = 5, .processor = guest, .signature = "VMwareVMware"},
    {.type = 9, .processor = guest, .signature = " lrpepyh  vr"},
    {.type = 9, .processor = guest, .signature = " prl hyperv "},
    {.type = 9, .maker = "Contoso", .processor = guest, .signature = "prl hyperv  "},
    {.type = 15, .processor = guest, .signature = "VBoxVBoxVBox"},
    {.type = 13, .processor = guest, .signature = "XenVMMXenVMM"},
    {.type = 13, .processor = guest, .signature = kMicrosoft, .secondSignature = "XenVMMXenVMM"},
    {.type = 19, .version = "3.4OVM", .processor = guest, .signature = "XenVMMXenVMM"},
    {.type = 10, .maker = "QEMU", .processor = guest, .signature = "TCGTCGTCGTCG"},
    {.type = 17, .processor = guest, .signature = kKvm},
    {.type = 17, .maker = "Alibaba Cloud", .processor = guest, .signature = kMicrosoft, .secondSignature = kKvm},
    {.type = 17, .processor = guest, .signature = "Linux KVM Hv"},
    {.type = 8, .maker = "Dell Inc.", .processor = guest, .signature = kMicrosoft},
    {.type = 10, .processor = microsoftRoot, .signature = "bhyve bhyve "}, // the right means nothing under another hypervisor
    {.type = 10, .maker = "Contoso", .processor = guest, .signature = "bhyve bhyve "},
    {.type = 10, .maker = "Contoso", .processor = guest, .signature = "ACRNACRNACRN"},
    {.type = 10, .maker = "Contoso", .processor = guest, .signature = " QNXQVMBSQG "},
    {.type = 10, .maker = "Contoso", .processor = guest, .signature = "QNXQVMBSQG"},
    {.type = 10, .processor = guest}, // a hypervisor that hides its name
    {.type = 10, .processor = guest, .signature = "xKVMKVMKVM"},
};

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

TEST(VmRules, EachMachineHasItsType)
{
    for (const Machine& machine : kMachines)
        EXPECT_EQ(static_cast<int>(hypervisorType(factsOf(machine))), machine.type)
            << "row " << &machine - kMachines << ": " << machine.maker << ", " << machine.product << ", " << machine.signature;
}
}
