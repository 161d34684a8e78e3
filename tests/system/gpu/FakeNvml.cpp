#include "hw-inventory-impl/lib/GPU/Nvml.h"
#include "tests/system/gpu/VendorMachine.h"

#include <algorithm>
#include <cstring>

// Nvidia's library as its documentation describes it, over the recorded devices. A handle is the index plus one.
using namespace HardwareInventory::Nvml;
using fakes::recordCall;
using fakes::Section;
using fakes::vendorMachine;

namespace
{
constexpr Return kNotSupported = 3;
constexpr Return kInvalidArgument = 2;
constexpr Return kInsufficientSize = 7;

const Section& recordedLibrary()
{
    return vendorMachine().nvml.library;
}

Return resultOf(const char* function)
{
    return static_cast<Return>(recordedLibrary().number(function).value_or(0));
}

std::size_t indexOf(Device device)
{
    return reinterpret_cast<std::size_t>(device) - 1;
}

// One call for a device: the recorded failure of the call, or the result of the action.
template <class Action>
Return ask(const char* function, Device device, Action action)
{
    recordCall(fakes::callText(function, indexOf(device)));
    const Section& section = vendorMachine().nvml.devices.at(indexOf(device));
    const Return recorded = static_cast<Return>(section.number(function).value_or(resultOf(function)));
    return recorded != 0 ? recorded : action(section);
}

template <class Number>
Return give(const Section& section, const char* key, Number& value)
{
    const auto recorded = section.number(key);
    if (!recorded)
        return kNotSupported;
    value = static_cast<Number>(*recorded);
    return 0;
}

// Fills a text field the way a careless library does: no terminator when the text is as long as the field.
void fill(char* field, std::size_t size, const std::string& text)
{
    std::memset(field, 0, size);
    std::memcpy(field, text.data(), std::min(size, text.size()));
}
}

extern "C"
{
Return nvmlInit()
{
    recordCall("nvmlInit");
    return resultOf("nvmlInit");
}

Return nvmlShutdown()
{
    recordCall("nvmlShutdown");
    return resultOf("nvmlShutdown");
}

const char* nvmlErrorString(Return result)
{
    static std::string text;
    text = "reason " + std::to_string(result);
    return text.c_str();
}

Return nvmlDeviceGetCount(std::uint32_t* count)
{
    recordCall("nvmlDeviceGetCount");
    *count = static_cast<std::uint32_t>(recordedLibrary().number("count").value_or(vendorMachine().nvml.devices.size()));
    return resultOf("nvmlDeviceGetCount");
}

Return nvmlDeviceGetHandleByIndex(std::uint32_t index, Device* device)
{
    recordCall(fakes::callText("nvmlDeviceGetHandleByIndex", index));
    if (index >= vendorMachine().nvml.devices.size())
        return kInvalidArgument;
    *device = reinterpret_cast<Device>(static_cast<std::size_t>(index) + 1);
    return static_cast<Return>(vendorMachine().nvml.devices[index].number("nvmlDeviceGetHandleByIndex").value_or(0));
}

Return nvmlDeviceGetTemperature(Device device, Sensor sensor, std::uint32_t* celsius)
{
    return ask("nvmlDeviceGetTemperature", device,
               [&](const Section& section)
               { return sensor == kGpuSensor ? give(section, "temperature", *celsius) : kInvalidArgument; });
}

Return nvmlDeviceGetUtilizationRates(Device device, Utilization* utilization)
{
    return ask("nvmlDeviceGetUtilizationRates", device,
               [&](const Section& section) {
                   return give(section, "utilization.gpu", utilization->gpu) +
                          give(section, "utilization.memory", utilization->memory);
               });
}

Return nvmlDeviceGetMemoryInfo(Device device, Memory* memory)
{
    return ask("nvmlDeviceGetMemoryInfo", device,
               [&](const Section& section)
               {
                   return give(section, "memory.total", memory->total) + give(section, "memory.free", memory->free) +
                          give(section, "memory.used", memory->used);
               });
}

Return nvmlDeviceGetPowerUsage(Device device, std::uint32_t* milliwatts)
{
    return ask("nvmlDeviceGetPowerUsage", device, [&](const Section& section) { return give(section, "power", *milliwatts); });
}

Return nvmlDeviceGetPciInfo_v3(Device device, PciInfo* pci)
{
    return ask("nvmlDeviceGetPciInfo_v3", device,
               [&](const Section& section)
               {
                   std::memset(pci, '!', sizeof(*pci)); // what lies behind the text is no terminator
                   fill(pci->busIdLegacy, sizeof(pci->busIdLegacy), section.text("busId"));
                   return section.contains("busId") ? 0 : kNotSupported;
               });
}

Return nvmlDeviceGetSerial(Device device, char* serial, std::uint32_t size)
{
    return ask("nvmlDeviceGetSerial", device,
               [&](const Section& section)
               {
                   if (size < kSerialSize)
                       return kInsufficientSize;
                   fill(serial, size, section.text("serial"));
                   return section.contains("serial") ? 0 : kNotSupported;
               });
}
}

#define NAMED(function) \
    { \
        #function, reinterpret_cast<void*>(&function) \
    }

fakes::Procedures fakes::nvmlProcedures()
{
    return {
        NAMED(nvmlInit),
        NAMED(nvmlShutdown),
        NAMED(nvmlErrorString),
        NAMED(nvmlDeviceGetCount),
        NAMED(nvmlDeviceGetHandleByIndex),
        NAMED(nvmlDeviceGetTemperature),
        NAMED(nvmlDeviceGetUtilizationRates),
        NAMED(nvmlDeviceGetMemoryInfo),
        NAMED(nvmlDeviceGetPowerUsage),
        NAMED(nvmlDeviceGetPciInfo_v3),
        NAMED(nvmlDeviceGetSerial),
    };
}
