#include "hw-inventory-impl/lib/GPU/AMDGPU.h"

#include "hw-inventory-impl/lib/GPU/Adl.h"

#include <array>
#include <cstdio>
#include <utility>

namespace HardwareInventory
{
namespace
{
constexpr double kMilli = 0.001;

// Where a value of the library goes. A sensor, a temperature type and a power type are numbers of three enumerations.
struct Source
{
    int number;
    Reading AmdReadings::*reading;
    double scale = 1.0;
};

constexpr auto kSensorLog = std::to_array<Source>({
    {8, &AmdReadings::edgeTemperature},
    {9, &AmdReadings::memoryTemperature},
    {10, &AmdReadings::vddcRegulatorTemperature},
    {11, &AmdReadings::mvddRegulatorTemperature},
    {25, &AmdReadings::mvdd0RegulatorTemperature},
    {26, &AmdReadings::mvdd1RegulatorTemperature},
    {24, &AmdReadings::socRegulatorTemperature},
    {12, &AmdReadings::liquidTemperature},
    {13, &AmdReadings::plxTemperature},
    {27, &AmdReadings::hotSpotTemperature},
    {30, &AmdReadings::graphicsPower},
    {23, &AmdReadings::asicPower},
    {17, &AmdReadings::socPower},
    {21, &AmdReadings::graphicsVoltage, kMilli},
    {22, &AmdReadings::memoryVoltage, kMilli},
    {16, &AmdReadings::socVoltage, kMilli},
    {19, &AmdReadings::graphicsActivity},
    {20, &AmdReadings::memoryActivity},
});

constexpr auto kOverdriveN = std::to_array<Source>({
    {1, &AmdReadings::edgeTemperature},
    {2, &AmdReadings::memoryTemperature},
    {3, &AmdReadings::vddcRegulatorTemperature},
    {4, &AmdReadings::mvddRegulatorTemperature},
    {5, &AmdReadings::liquidTemperature},
    {6, &AmdReadings::plxTemperature},
    {7, &AmdReadings::hotSpotTemperature},
});

constexpr auto kOverdrive6 = std::to_array<Source>({
    {0, &AmdReadings::asicPower},
    {3, &AmdReadings::graphicsPower},
    {1, &AmdReadings::pptPower},
    {2, &AmdReadings::socketPower},
});

float scaled(int value, double scale)
{
    return static_cast<float>(value * scale);
}

// Drivers answer in degrees or in thousandths of a degree; no adapter runs at 1,000 degrees.
float degrees(int value)
{
    return scaled(value, value >= 1000 ? kMilli : 1.0);
}
}

std::string amdPciAddress(int bus, int device, int function)
{
    const auto busNumber = static_cast<unsigned>(bus);
    char text[13];
    std::snprintf(text, sizeof(text), "%04x:%02x:%02x.%01x", (busNumber >> 8) & 0xFFFF, busNumber & 0xFF,
                  static_cast<unsigned>(device), static_cast<unsigned>(function));
    return text;
}

AMDGPU::AMDGPU(std::string name, int adapterIndex, int bus, int device, int function)
    : adapterIndex_(adapterIndex), name_(std::move(name)), pciAddress_(amdPciAddress(bus, device, function))
{
    int supported = 0;
    int enabled = 0;
    int version = 0;
    if (Adl::library().functions.ADL_Overdrive_Caps(adapterIndex_, &supported, &enabled, &version) == Adl::kOk)
        overdriveVersion_ = version;
    update();
}

int AMDGPU::update()
{
    const bool hasContext = Adl::library().context != nullptr;
    if (hasContext && overdriveVersion_ >= 8 && readSensorLog())
        return 0;

    if (hasContext && overdriveVersion_ >= 7)
        readOverdriveN();
    else
        readOverdrive5Temperature();
    if (hasContext && overdriveVersion_ >= 6)
        readOverdrive6Power();
    readOverdrive5Activity();
    return 0;
}

bool AMDGPU::readSensorLog()
{
    const Adl::Library& adl = Adl::library();
    Adl::PMLogDataOutput log{};
    log.size = sizeof(log);
    if (adl.functions.ADL2_New_QueryPMLogData_Get(adl.context, adapterIndex_, &log) != Adl::kOk)
        return false;

    for (const Source& source : kSensorLog)
    {
        const Adl::SingleSensorData& sensor = log.sensors[source.number];
        readings_.*source.reading = sensor.supported ? Reading(scaled(sensor.value, source.scale)) : std::nullopt;
    }
    return true;
}

void AMDGPU::readOverdriveN()
{
    const Adl::Library& adl = Adl::library();
    for (const Source& source : kOverdriveN)
    {
        int value = 0;
        if (adl.functions.ADL2_OverdriveN_Temperature_Get(adl.context, adapterIndex_, source.number, &value) == Adl::kOk)
            readings_.*source.reading = degrees(value);
    }
}

void AMDGPU::readOverdrive5Temperature()
{
    Adl::Temperature temperature{};
    temperature.iSize = sizeof(temperature);
    if (Adl::library().functions.ADL_Overdrive5_Temperature_Get(adapterIndex_, 0, &temperature) == Adl::kOk)
        readings_.edgeTemperature = scaled(temperature.iTemperature, kMilli);
}

// The values are stored as the library returns them.
void AMDGPU::readOverdrive6Power()
{
    const Adl::Library& adl = Adl::library();
    for (const Source& source : kOverdrive6)
    {
        int value = 0;
        if (adl.functions.ADL2_Overdrive6_CurrentPower_Get(adl.context, adapterIndex_, source.number, &value) == Adl::kOk)
            readings_.*source.reading = static_cast<float>(value);
    }
}

void AMDGPU::readOverdrive5Activity()
{
    Adl::PMActivity activity{};
    activity.iSize = sizeof(activity);
    if (Adl::library().functions.ADL_Overdrive5_CurrentActivity_Get(adapterIndex_, &activity) != Adl::kOk)
        return;

    if (activity.iVddc > 0)
        readings_.graphicsVoltage = scaled(activity.iVddc, kMilli);
    if (activity.iActivityPercent < 101)
        readings_.graphicsActivity = static_cast<float>(activity.iActivityPercent);
}
}
