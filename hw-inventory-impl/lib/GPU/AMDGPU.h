#pragma once

#include "hw-inventory-impl/lib/GPU/IGPU.h"

#include <optional>
#include <string>

namespace HardwareInventory
{
using Reading = std::optional<float>;

struct AMDReadings
{
    // degrees Celsius
    Reading edgeTemperature;
    Reading memoryTemperature;
    Reading vddcRegulatorTemperature;
    Reading mvddRegulatorTemperature;
    Reading mvdd0RegulatorTemperature;
    Reading mvdd1RegulatorTemperature;
    Reading liquidTemperature;
    Reading plxTemperature;
    Reading hotSpotTemperature;
    Reading socRegulatorTemperature;
    // watts
    Reading graphicsPower;
    Reading pptPower;
    Reading socketPower;
    Reading asicPower;
    Reading socPower;
    // volts
    Reading graphicsVoltage;
    Reading memoryVoltage;
    Reading socVoltage;
    // percent
    Reading graphicsActivity;
    Reading memoryActivity;
};

// "domain:bus:device.function" in lower-case hexadecimal, from the library's bus number with the domain in its upper bits. At
// most 12 characters.
std::string amdPciAddress(int bus, int device, int function);

// An adapter of the initialised library; its values are read at once.
class AMDGPU final : public IGPU
{
public:
    AMDGPU(std::string name, int adapterIndex, int bus, int device, int function);

    int update() override;
    std::optional<float> temperature() const override { return readings_.edgeTemperature; }
    std::string pciAddress() const override { return pciAddress_; }
    std::string serial() const override { return {}; } // ADL has no serial number

    const std::string& name() const { return name_; }
    int adapterIndex() const { return adapterIndex_; }
    int overdriveVersion() const { return overdriveVersion_; } // -1 if unknown
    const AMDReadings& readings() const { return readings_; }

private:
    bool readSensorLog();
    void readOverdriveN();
    void readOverdrive5Temperature();
    void readOverdrive6Power();
    void readOverdrive5Activity();

    int adapterIndex_;
    int overdriveVersion_ = -1;
    std::string name_;
    std::string pciAddress_;
    AMDReadings readings_;
};
}
