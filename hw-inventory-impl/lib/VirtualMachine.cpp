#include "hw-inventory-impl/lib/VirtualMachine.h"

#include "hw-inventory-impl/lib/NameTable.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"

#include <stdexcept>

namespace HardwareInventory
{
namespace
{
constexpr auto kHypervisors = std::to_array<const wchar_t*>({
    L"VMware Workstation",
    L"VMware GSX",
    L"VMware ESX",
    L"VMware Virtual Server",
    L"VMware",
    L"Microsoft Virtual Server",
    L"Microsoft Virtual PC",
    L"Microsoft Hyper-V",
    L"Parallels Workstation",
    L"Unknown",
    L"VMware Express",
    L"Microsoft Virtual PC or Server",
    L"Xen",
    L"VMware VI",
    L"VirtualBox",
    L"Parallels Virtuozzo",
    L"KVM",
    L"RHEV",
    L"Oracle Virtual Machine",
    L"Parallels Cloud Server",
    L"Amazon Cloud",
    L"Miscrosoft Azure", // sic: readers of the documents expect this spelling
    L"HCI",
    L"KVM Server",
    L"Scale HC3",
});
static_assert(kHypervisors.size() == 25);
constexpr long long kFirstHypervisor = 1;
}

bool isHostVirtual()
{
    return Platform::isVirtual(Platform::vmType());
}

std::wstring hypervisorName()
{
    if (!isHostVirtual())
        throw std::runtime_error("not in virtual machine, can't detect hypervizor type");
    return nameOf(kHypervisors, Platform::vmType(), kFirstHypervisor, L"Unknown");
}

EmulatedDevice emulatedBaseBoard(const std::wstring& hypervisor)
{
    return {L"Base Board", hypervisor + L" Virtual Platform", hypervisor + L" Emulated Base Board"};
}

EmulatedDevice emulatedVideoAdapter(const std::wstring& hypervisor)
{
    return {hypervisor + L" Emulated GPU", hypervisor + L" Virtual Platform", hypervisor + L" Emulated GPU"};
}
}
