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
    const char* manufacturer = "";
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
    const char* boardManufacturer = "";
    const char* boardProduct = "";
    bool virtualMachineBit = false;
};

constexpr char kMicrosoft[] = "Microsoft Hv";
constexpr char kKvm[] = "KVMKVMKVM";
constexpr char kAzureTag[] = "7783-7084-3265-9085-8269-3286-77";

const Machine kMachines[] = {
    // Physical machines. Names that begin or end like a hypervisor's mean nothing, nor do those of appliances for one.
    {.type = 0},
    {.type = 0, .manufacturer = "Dell Inc.", .product = "OptiPlex 7080", .processor = microsoftRoot, .signature = kMicrosoft},
    {.type = 0,
     .manufacturer = "Microsoft Corporation",
     .product = "Surface Laptop 4",
     .processor = microsoftRoot,
     .signature = kMicrosoft},
    {.type = 0, .manufacturer = "Contoso", .product = "Virtual Machine"},
    {.type = 0, .manufacturer = "HP", .processor = guest, .signature = "SRESRESRESRE"},
    {.type = 0, .manufacturer = "Panasonic Corporation", .processor = guest, .signature = "EVMMEVMMEVMM"},
    {.type = 0, .manufacturer = "Amazon EC2", .product = "i3.metal"},          // bare metal
    {.type = 0, .manufacturer = "Google", .product = "Google Compute Engine"}, // bare metal
    {.type = 0, .manufacturer = "Oracle Corporation", .product = "ORACLE SERVER X5-2", .boardManufacturer = "Oracle Corporation"},
    {.type = 0, .manufacturer = "Nutanix", .product = "NX-3060-G5"},
    {.type = 0, .manufacturer = "Nutanix", .product = "NX-1065 AHV"},
    {.type = 0, .manufacturer = "Scale Computing", .product = "HC1200"},
    {.type = 0, .manufacturer = "Contoso", .product = "LHC300"},
    {.type = 0, .manufacturer = "Contoso", .product = "Rack HCI 200"},
    {.type = 0, .manufacturer = "Contoso", .product = "Rack HCI 200", .processor = microsoftRoot, .signature = kMicrosoft},
    {.type = 0, .manufacturer = "Contoso", .product = "KVM Server 2U"},
    // A version that happens to have these letters.
    {.type = 0, .manufacturer = "LENOVO", .product = "20XXS0AB00", .biosVersion = "N3VMW35W (1.16 )"},
    {.type = 0, .manufacturer = "Contoso", .product = "Ready for VMware"},
    {.type = 0, .manufacturer = "Not QEMU", .product = "Ready for OpenStack and VirtualBox"},
    {.type = 0, .manufacturer = "XENON", .product = "Nitro G8", .biosVendor = "Xenta"},
    {.type = 0, .manufacturer = "vmware", .product = "virtualbox", .biosVendor = "qemu"},
    // The board counts only where the system has no name.
    {.type = 0,
     .manufacturer = "ASUSTeK",
     .product = "PRIME",
     .boardManufacturer = "Microsoft Corporation",
     .boardProduct = "Virtual Machine"},
    {.type = 0, .manufacturer = "Contoso", .registryBiosVersion = "ACME - 9000816"},
    // A single odd fact: a security hypervisor that is not listed, the firmware's mark, a table without names.
    {.type = 0, .manufacturer = "LENOVO", .product = "20L8S07A14", .processor = guest, .signature = "ThinThinThin"},
    {.type = 0, .manufacturer = "Dell Inc.", .product = "OptiPlex 7080", .virtualMachineBit = true},
    {.type = 0, .manufacturer = "To Be Filled By O.E.M.", .processor = guest, .boardManufacturer = "ASRock"},
    {.type = 0, .product = "Barebone", .boardManufacturer = "ASRock", .virtualMachineBit = true},
    {.type = 0, .biosVendor = "SeaBIOS"},
    {.type = 0, .biosVersion = "1.31", .registryBiosVersion = "VMW71.00V.1"},
    // Guests, by their firmware.
    {.type = 5, .manufacturer = "Contoso", .product = "VMware7,1"},
    {.type = 5, .manufacturer = "Dell Inc.", .biosVendor = "VMware, Inc."},
    {.type = 5, .manufacturer = "Dell Inc.", .biosVersion = "VMW71.00V.24504846.B64.2501180334"},
    {.type = 5, .manufacturer = "VMware, Inc.", .product = "VMware20,1", .processor = microsoftRoot, .signature = kMicrosoft},
    {.type = 22,
     .manufacturer = "Microsoft Corporation",
     .product = "Virtual Machine",
     .processor = microsoftRoot,
     .signature = kMicrosoft,
     .assetTag = kAzureTag},
    {.type = 21, .manufacturer = "Amazon EC2", .product = "t3.medium", .processor = guest, .signature = kKvm},
    {.type = 21, .manufacturer = "Xen", .product = "HVM domU", .biosVersion = "4.2.amazon"},
    {.type = 18, .manufacturer = "oVirt"},
    {.type = 18, .manufacturer = "Red Hat", .product = "RHEV Hypervisor"},
    {.type = 25, .manufacturer = "Scale Computing", .processor = guest, .signature = kKvm},
    {.type = 25, .product = "Virtual HC3", .processor = guest, .signature = kKvm},
    {.type = 23, .manufacturer = "Contoso-HCI", .processor = guest, .signature = kKvm},
    {.type = 23, .product = "HCIX HCI", .processor = guest, .signature = kKvm},
    {.type = 17, .manufacturer = "XHCI", .product = "HCI7", .processor = guest, .signature = kKvm},
    {.type = 16, .manufacturer = "Parallels", .product = "Virtuozzo"},
    {.type = 20, .manufacturer = "Parallels", .product = "Parallels Cloud Server 6"},
    {.type = 9,
     .manufacturer = "Parallels Software International Inc.",
     .product = "Parallels Virtual Platform",
     .processor = guest,
     .signature = kKvm},
    {.type = 15, .manufacturer = "innotek GmbH", .processor = guest, .signature = kKvm},
    {.type = 15, .manufacturer = "Oracle Corporation", .product = "VirtualBox"},
    {.type = 15, .manufacturer = "LENOVO", .biosVendor = "innotek GmbH"},
    {.type = 15, .manufacturer = "LENOVO", .product = "20L5CTO1WW", .oemString = "vboxVer_7.0.14"},
    {.type = 15, .boardManufacturer = "Oracle Corporation", .boardProduct = "VirtualBox"},
    {.type = 13, .manufacturer = "Contoso", .biosVendor = "Xen"},
    {.type = 13, .manufacturer = "Contoso", .product = "HVM domU"},
    {.type = 19, .biosVendor = "Xen", .biosVersion = "4.4.4OVM"},
    {.type = 19, .product = "HVM domU", .version = "3.4OVM"},
    {.type = 24, .manufacturer = "Contoso", .product = "KVM Server", .processor = guest, .signature = kKvm},
    {.type = 17, .manufacturer = "QEMU"},
    {.type = 17, .manufacturer = "Not Specified", .biosVendor = "QEMU"},
    {.type = 17, .manufacturer = "Bochs"},
    {.type = 17, .manufacturer = "Red Hat", .product = "KVM"},
    {.type = 17, .manufacturer = "RDO", .product = "OpenStack Compute"},
    {.type = 17, .manufacturer = "Google", .product = "Google Compute Engine", .processor = guest, .signature = kMicrosoft},
    {.type = 17, .manufacturer = "Nutanix", .product = "AHV", .processor = guest, .signature = kMicrosoft},
    {.type = 8,
     .manufacturer = "Microsoft Corporation",
     .product = "Virtual Machine",
     .processor = microsoftRoot,
     .signature = kMicrosoft},
    {.type = 8, .boardManufacturer = "Microsoft Corporation", .boardProduct = "Virtual Machine"},
    {.type = 7, .manufacturer = "Microsoft Corporation", .product = "Virtual Machine", .registryBiosVersion = "A M I  - 9000816"},
    {.type = 7, .manufacturer = "Microsoft Corporation", .product = "Virtual Machine", .registryBiosVersion = "A M I  - 6000901"},
    {.type = 6, .manufacturer = "Microsoft Corporation", .product = "Virtual Machine", .registryBiosVersion = "A M I  - 9000520"},
    {.type = 5, .registryBiosVersion = "VMW71.00V.1"},
    {.type = 10, .manufacturer = "EFI Development Kit", .virtualMachineBit = true},
    {.type = 10, .manufacturer = "Contoso", .biosVendor = "EFI Development Kit II / OVMF", .virtualMachineBit = true},
    {.type = 10, .manufacturer = "Contoso", .biosVendor = "SeaBIOS", .processor = guest},
    {.type = 10, .manufacturer = "Contoso", .processor = guest, .virtualMachineBit = true},
    // Guests whose firmware is silent, by the processor. Several wear the mask of Hyper-V.
    {.type = 5, .processor = guest, .signature = "VMwareVMware"},
    {.type = 9, .processor = guest, .signature = " lrpepyh  vr"},
    {.type = 9, .processor = guest, .signature = " prl hyperv "},
    {.type = 9, .manufacturer = "Contoso", .processor = guest, .signature = "prl hyperv  "},
    {.type = 15, .processor = guest, .signature = "VBoxVBoxVBox"},
    {.type = 13, .processor = guest, .signature = "XenVMMXenVMM"},
    {.type = 13, .processor = guest, .signature = kMicrosoft, .secondSignature = "XenVMMXenVMM"},
    {.type = 19, .version = "3.4OVM", .processor = guest, .signature = "XenVMMXenVMM"},
    {.type = 10, .manufacturer = "QEMU", .processor = guest, .signature = "TCGTCGTCGTCG"},
    {.type = 17, .processor = guest, .signature = kKvm},
    {.type = 17, .manufacturer = "Alibaba Cloud", .processor = guest, .signature = kMicrosoft, .secondSignature = kKvm},
    {.type = 17, .processor = guest, .signature = "Linux KVM Hv"},
    {.type = 8, .manufacturer = "Dell Inc.", .processor = guest, .signature = kMicrosoft},
    {.type = 10, .processor = microsoftRoot, .signature = "bhyve bhyve "}, // the right means nothing under another hypervisor
    {.type = 10, .manufacturer = "Contoso", .processor = guest, .signature = "bhyve bhyve "},
    {.type = 10, .manufacturer = "Contoso", .processor = guest, .signature = "ACRNACRNACRN"},
    {.type = 10, .manufacturer = "Contoso", .processor = guest, .signature = " QNXQVMBSQG "},
    {.type = 10, .manufacturer = "Contoso", .processor = guest, .signature = "QNXQVMBSQG"},
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
    facts.firmware.manufacturer = machine.manufacturer;
    facts.firmware.product = machine.product;
    facts.firmware.version = machine.version;
    facts.firmware.boardManufacturer = machine.boardManufacturer;
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
            << "row " << &machine - kMachines << ": " << machine.manufacturer << ", " << machine.product << ", "
            << machine.signature;
}
}
