#pragma once

#include <cstdint>

namespace VmDetect
{
struct HostFacts;

// The results of VmProbe_GetHostVMType that the rules yield.
enum class HypervisorType : std::int32_t
{
    physical = 0,
    vmware = 5,
    virtualServer = 6,
    virtualPC = 7,
    hyperV = 8,
    parallels = 9,
    unknown = 10,
    xen = 13,
    virtualBox = 15,
    virtuozzo = 16,
    kvm = 17,
    rhev = 18,
    oracleVM = 19,
    parallelsCloudServer = 20,
    amazon = 21,
    azure = 22,
    hci = 23,
    kvmServer = 24,
    scaleHC3 = 25
};

HypervisorType hypervisorType(const HostFacts& facts);
}
