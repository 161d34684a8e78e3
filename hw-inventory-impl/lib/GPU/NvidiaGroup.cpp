#include "hw-inventory-impl/lib/GPU/NvidiaGroup.h"

#include "hw-inventory-impl/lib/GPU/GPUException.h"
#include "hw-inventory-impl/lib/GPU/VendorModule.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"

namespace HardwareInventory
{
namespace
{
using Nvml::Functions;

Functions nvml{};

// The blank before the last two exclamation marks is part of the messages.
constexpr VendorModule::Symbol<Functions> kSymbols[] = {
    {"nvmlInit", "ERROR: nvmlInit not available!", VendorModule::bind<Functions, &Functions::nvmlInit>},
    {"nvmlShutdown", "ERROR: nvmlShutdown not available!", VendorModule::bind<Functions, &Functions::nvmlShutdown>},
    {"nvmlErrorString", "ERROR: nvmlErrorString not available!", VendorModule::bind<Functions, &Functions::nvmlErrorString>},
    {"nvmlDeviceGetCount", "ERROR: nvmlDeviceGetCount not available!",
     VendorModule::bind<Functions, &Functions::nvmlDeviceGetCount>},
    {"nvmlDeviceGetHandleByIndex", "ERROR: nvmlDeviceGetHandleByIndex not available!",
     VendorModule::bind<Functions, &Functions::nvmlDeviceGetHandleByIndex>},
    {"nvmlDeviceGetTemperature", "ERROR: nvmlDeviceGetTemperature not available!",
     VendorModule::bind<Functions, &Functions::nvmlDeviceGetTemperature>},
    {"nvmlDeviceGetUtilizationRates", "ERROR: nvmlDeviceGetUtilizationRates not available!",
     VendorModule::bind<Functions, &Functions::nvmlDeviceGetUtilizationRates>},
    {"nvmlDeviceGetMemoryInfo", "ERROR: nvmlDeviceGetMemoryInfo not available!",
     VendorModule::bind<Functions, &Functions::nvmlDeviceGetMemoryInfo>},
    {"nvmlDeviceGetPowerUsage", "ERROR: nvmlDeviceGetPowerUsage not available!",
     VendorModule::bind<Functions, &Functions::nvmlDeviceGetPowerUsage>},
    {"nvmlDeviceGetPciInfo_v3", "ERROR: nvmlDeviceGetPciInfo_v3 not available !",
     VendorModule::bind<Functions, &Functions::nvmlDeviceGetPciInfo_v3>},
    {"nvmlDeviceGetSerial", "ERROR: nvmlDeviceGetSerial not available !",
     VendorModule::bind<Functions, &Functions::nvmlDeviceGetSerial>},
};

// The message of what is missing, or null.
const char* loadLibrary()
{
    if (!VendorModule::load({L"nvml.dll"}))
        return "NVML Library not found!";
    return VendorModule::bindAll<Functions>(nvml, kSymbols);
}

void require(Nvml::Return result, const char* failure)
{
    if (result == 0)
        return;
    const char* const reason = nvml.nvmlErrorString(result);
    throw NvidiaException("%s: %s [%d]", failure, reason ? reason : "", result);
}

float percentOf(std::uint64_t part, std::uint64_t whole)
{
    return whole == 0 ? 0 : static_cast<float>(part) * 100 / static_cast<float>(whole);
}
}

NvidiaGPU::NvidiaGPU(std::uint32_t index, Nvml::Device device) : index_(index), device_(device)
{
    update();
}

int NvidiaGPU::update()
{
    std::uint32_t celsius = 0;
    if (nvml.nvmlDeviceGetTemperature(device_, Nvml::kGpuSensor, &celsius) == 0)
        readings_.temperature = static_cast<float>(celsius);

    Nvml::Utilization utilization{};
    if (nvml.nvmlDeviceGetUtilizationRates(device_, &utilization) == 0)
    {
        readings_.gpuUtilization = utilization.gpu;
        readings_.memoryUtilization = utilization.memory;
    }

    Nvml::Memory memory{};
    if (nvml.nvmlDeviceGetMemoryInfo(device_, &memory) == 0)
    {
        readings_.memoryFreeKiB = static_cast<float>(memory.free >> 10);
        readings_.memoryUsedKiB = static_cast<float>(memory.used >> 10);
        readings_.memoryTotalKiB = static_cast<float>(memory.total >> 10);
        readings_.memoryUsedPercent = percentOf(memory.used, memory.total);
    }

    std::uint32_t milliwatts = 0;
    if (nvml.nvmlDeviceGetPowerUsage(device_, &milliwatts) == 0)
        readings_.powerWatts = static_cast<float>(milliwatts * 0.001);

    Nvml::PciInfo pci{};
    if (nvml.nvmlDeviceGetPciInfo_v3(device_, &pci) == 0)
        readings_.pciBusId = VendorModule::boundedText(pci.busIdLegacy);

    char serial[Nvml::kSerialSize] = {};
    if (const Nvml::Return result = nvml.nvmlDeviceGetSerial(device_, serial, Nvml::kSerialSize); result != 0)
        return result;
    readings_.serial = VendorModule::boundedText(serial);
    return 0;
}

NvidiaGroup::NvidiaGroup()
{
    if (const char* const missing = loadLibrary())
        throw NvidiaException("%s", missing);
    require(nvml.nvmlInit(), "Error on NVML initialization");

    std::uint32_t count = 0;
    require(nvml.nvmlDeviceGetCount(&count), "Error on getting device count");
    for (std::uint32_t index = 0; index < count; ++index)
    {
        Nvml::Device device = nullptr;
        require(nvml.nvmlDeviceGetHandleByIndex(index, &device), "Error on getting handle by index");
        gpus_.push_back(std::make_shared<NvidiaGPU>(index, device));
    }
}

NvidiaGroup::~NvidiaGroup()
{
    if (Platform::processIsTerminating())
        return;
    nvml.nvmlShutdown();
    VendorModule::unload();
}
}
