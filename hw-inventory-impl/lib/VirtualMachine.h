#pragma once

#include <string>

namespace HardwareInventory
{
// Whether the host runs under a hypervisor, as the VM detection library says. Asked anew at every call.
bool isHostVirtual();

// The hypervisor's display name; "Unknown" for a type without one. Throws std::runtime_error on a host that is not virtual.
std::wstring hypervisorName();

// What the devices are called that a hypervisor emulates.
struct EmulatedDevice
{
    std::wstring name;
    std::wstring manufacturer;
    std::wstring model;
};
EmulatedDevice emulatedBaseBoard(const std::wstring& hypervisor);
EmulatedDevice emulatedVideoAdapter(const std::wstring& hypervisor);
}
