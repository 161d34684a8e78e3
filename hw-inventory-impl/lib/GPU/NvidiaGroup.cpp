#include "hw-inventory-impl/lib/GPU/NvidiaGroup.h"

#include "hw-inventory-impl/lib/GPU/GPUException.h"
#include "hw-inventory-impl/lib/GPU/VendorModule.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"

namespace HardwareInventory
{
namespace
{
using VendorModule::resolve;

// The message for two of the functions has a space before its exclamation mark.
constexpr const char* kSpacedMessage = "ERROR: %s not available !";

Nvml::Functions nvml{};

void loadLibrary()
{
    if (!VendorModule::load({L"nvml.dll"}))
        throw NvidiaException("NVML Library not found!");
    resolve<NvidiaException>(nvml.nvmlInit, "nvmlInit");
    resolve<NvidiaException>(nvml.nvmlShutdown, "nvmlShutdown");
    resolve<NvidiaException>(nvml.nvmlErrorString, "nvmlErrorString");
    resolve<NvidiaException>(nvml.nvmlDeviceGetCount, "nvmlDeviceGetCount");
    resolve<NvidiaException>(nvml.nvmlDeviceGetHandleByIndex, "nvmlDeviceGetHandleByIndex");
    resolve<NvidiaException>(nvml.nvmlDeviceGetTemperature, "nvmlDeviceGetTemperature");
    resolve<NvidiaException>(nvml.nvmlDeviceGetUtilizationRates, "nvmlDeviceGetUtilizationRates");
    resolve<NvidiaException>(nvml.nvmlDeviceGetMemoryInfo, "nvmlDeviceGetMemoryInfo");
    resolve<NvidiaException>(nvml.nvmlDeviceGetPowerUsage, "nvmlDeviceGetPowerUsage");
    resolve<NvidiaException>(nvml.nvmlDeviceGetPciInfo_v3, "nvmlDeviceGetPciInfo_v3", kSpacedMessage);
    resolve<NvidiaException>(nvml.nvmlDeviceGetSerial, "nvmlDeviceGetSerial", kSpacedMessage);
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
    loadLibrary();
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
