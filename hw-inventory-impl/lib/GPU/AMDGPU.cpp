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

// The reading that a value of ADL belongs to. Sensors, temperature types and power types have an enumeration each.
struct Source
{
    int number;
    Reading AMDReadings::*reading;
    double scale = 1.0;
};

constexpr auto kSensorLog = std::to_array<Source>({
    {8, &AMDReadings::edgeTemperature},
    {9, &AMDReadings::memoryTemperature},
    {10, &AMDReadings::vddcRegulatorTemperature},
    {11, &AMDReadings::mvddRegulatorTemperature},
    {25, &AMDReadings::mvdd0RegulatorTemperature},
    {26, &AMDReadings::mvdd1RegulatorTemperature},
    {24, &AMDReadings::socRegulatorTemperature},
    {12, &AMDReadings::liquidTemperature},
    {13, &AMDReadings::plxTemperature},
    {27, &AMDReadings::hotSpotTemperature},
    {30, &AMDReadings::graphicsPower},
    {23, &AMDReadings::asicPower},
    {17, &AMDReadings::socPower},
    {21, &AMDReadings::graphicsVoltage, kMilli},
    {22, &AMDReadings::memoryVoltage, kMilli},
    {16, &AMDReadings::socVoltage, kMilli},
    {19, &AMDReadings::graphicsActivity},
    {20, &AMDReadings::memoryActivity},
});

constexpr auto kOverdriveN = std::to_array<Source>({
    {1, &AMDReadings::edgeTemperature},
    {2, &AMDReadings::memoryTemperature},
    {3, &AMDReadings::vddcRegulatorTemperature},
    {4, &AMDReadings::mvddRegulatorTemperature},
    {5, &AMDReadings::liquidTemperature},
    {6, &AMDReadings::plxTemperature},
    {7, &AMDReadings::hotSpotTemperature},
});

constexpr auto kOverdrive6 = std::to_array<Source>({
    {0, &AMDReadings::asicPower},
    {3, &AMDReadings::graphicsPower},
    {1, &AMDReadings::pptPower},
    {2, &AMDReadings::socketPower},
});

float scaled(int value, double scale)
{
    return static_cast<float>(value * scale);
}

// Drivers report degrees or thousandths of a degree; no adapter runs at 1,000 degrees.
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
