#pragma once

#include <cstddef>
#include <cstdint>

// Nvidia's management library as far as it is used here. Not taken from the vendor's header, which renames several functions to
// newer versions by macro, while exactly the names below are looked up.
namespace HardwareInventory::Nvml
{
using Return = int;   // 0 is success
using Device = void*; // opaque
using Sensor = int;   // the enumeration of temperature sensors

constexpr Sensor kGpuSensor = 0;
constexpr std::size_t kSerialSize = 30;

struct Utilization
{
    std::uint32_t gpu; // percent
    std::uint32_t memory;
};
static_assert(sizeof(Utilization) == 8);

struct Memory
{
    std::uint64_t total; // bytes
    std::uint64_t free;
    std::uint64_t used;
};
static_assert(sizeof(Memory) == 24 && offsetof(Memory, free) == 8 && offsetof(Memory, used) == 16);

// The record's version 3.
struct PciInfo
{
    char busIdLegacy[16]; // "domain:bus:device.function", a domain of four digits
    std::uint32_t domain;
    std::uint32_t bus;
    std::uint32_t device;
    std::uint32_t pciDeviceId;
    std::uint32_t pciSubSystemId;
    char busId[32]; // the same with a domain of eight digits
};
static_assert(sizeof(PciInfo) == 68 && offsetof(PciInfo, domain) == 16 && offsetof(PciInfo, busId) == 36);

// On 64-bit Windows there is one calling convention, so none is named.
struct Functions
{
    Return (*nvmlInit)();
    Return (*nvmlShutdown)();
    const char* (*nvmlErrorString)(Return result);
    Return (*nvmlDeviceGetCount)(std::uint32_t* count);
    Return (*nvmlDeviceGetHandleByIndex)(std::uint32_t index, Device* device);
    Return (*nvmlDeviceGetTemperature)(Device device, Sensor sensor, std::uint32_t* celsius);
    Return (*nvmlDeviceGetUtilizationRates)(Device device, Utilization* utilization);
    Return (*nvmlDeviceGetMemoryInfo)(Device device, Memory* memory);
    Return (*nvmlDeviceGetPowerUsage)(Device device, std::uint32_t* milliwatts);
    Return (*nvmlDeviceGetPciInfo_v3)(Device device, PciInfo* pci);
    Return (*nvmlDeviceGetSerial)(Device device, char* serial, std::uint32_t size);
};
}
