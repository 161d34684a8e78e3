#pragma once

#include <string>

namespace HardwareInventory
{
// Whether the host is a virtual machine, according to the VM detection library. Every call asks the library.
bool isHostVirtual();

// The hypervisor's display name; "Unknown" for a type without one. Throws std::runtime_error on a host that is not virtual.
std::wstring hypervisorName();

// The names of a device that a hypervisor emulates.
struct EmulatedDevice
{
    std::wstring name;
    std::wstring manufacturer;
    std::wstring model;
};
EmulatedDevice emulatedBaseBoard(const std::wstring& hypervisor);
EmulatedDevice emulatedVideoAdapter(const std::wstring& hypervisor);
}
