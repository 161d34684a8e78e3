#include "hw-inventory-impl/lib/GPU/AMDGPU.h"

#include "hw-inventory-impl/lib/GPU/AMDGroup.h"
#include "tests/unit/gpu/GpuTest.h"

#include <sstream>

using namespace HardwareInventory;
using namespace fakes;

namespace
{
// The readings that are present, as "name value".
std::string describe(const AMDReadings& readings)
{
    const std::pair<const char*, const Reading&> named[] = {
        {"edge", readings.edgeTemperature},
        {"memory", readings.memoryTemperature},
        {"vddc", readings.vddcRegulatorTemperature},
        {"mvdd", readings.mvddRegulatorTemperature},
        {"mvdd0", readings.mvdd0RegulatorTemperature},
        {"mvdd1", readings.mvdd1RegulatorTemperature},
        {"liquid", readings.liquidTemperature},
        {"plx", readings.plxTemperature},
        {"hot spot", readings.hotSpotTemperature},
        {"soc", readings.socRegulatorTemperature},
        {"graphics W", readings.graphicsPower},
        {"ppt W", readings.pptPower},
        {"socket W", readings.socketPower},
        {"asic W", readings.asicPower},
        {"soc W", readings.socPower},
        {"graphics V", readings.graphicsVoltage},
        {"memory V", readings.memoryVoltage},
        {"soc V", readings.socVoltage},
        {"graphics %", readings.graphicsActivity},
        {"memory %", readings.memoryActivity},
    };
    std::ostringstream text;
    for (const auto& [name, reading] : named)
        if (reading)
            text << name << ' ' << *reading << "; ";
    return text.str();
}

// An adapter that supports every call, each with values of its own.
Section everything(const char* version)
{
    Section adapter = {{"version", version},
                       {"log", "1"},
                       {"overdrive5.temperature", "52750"},
                       {"overdrive5.voltage", "1050"},
                       {"overdrive5.activity", "37"}};
    for (const int sensor : {8, 9, 10, 11, 12, 13, 16, 17, 19, 20, 21, 22, 23, 24, 25, 26, 27, 30})
        adapter["log." + std::to_string(sensor)] = std::to_string(100 + sensor);
    for (int type = 1; type <= 7; ++type)
        adapter["overdriveN." + std::to_string(type)] = std::to_string(60000 + type * 500);
    for (int type = 0; type <= 3; ++type)
        adapter["overdrive6." + std::to_string(type)] = std::to_string(200 + type);
    return adapter;
}

const std::string kFromLog =
    "edge 108; memory 109; vddc 110; mvdd 111; mvdd0 125; mvdd1 126; liquid 112; plx 113; hot spot 127; soc 124; "
    "graphics W 130; asic W 123; soc W 117; graphics V 0.121; memory V 0.122; soc V 0.116; graphics % 119; memory % 120; ";
const std::string kFromOverdriveN = "edge 60.5; memory 61; vddc 61.5; mvdd 62; liquid 62.5; plx 63; hot spot 63.5; ";
const std::string kFromOverdrive6 = "graphics W 203; ppt W 201; socket W 202; asic W 200; ";
const std::string kFromOverdrive5 = "graphics V 1.05; graphics % 37; ";

class AMDGPUTest : public GpuTest
{
protected:
    AMDGPUTest() { installAdl(); }

    // A group whose only adapter is the given one.
    static AMDGroup& groupOf(const Section& adapter, std::optional<AMDGroup>& group)
    {
        adl().devices = {adapter};
        return group.emplace();
    }
};

// Each interface has values of its own: the readings show which ones were called.
TEST_F(AMDGPUTest, ReadsThroughTheBestInterfaceOfItsOverdriveVersion)
{
    struct Case
    {
        const char* version;
        const char* failing; // a call, or nothing
        std::string readings;
        bool hasContext = true;
    };
    const std::string readings5 = "edge 52.75; " + kFromOverdrive5;
    const Case cases[] = {
        {"9", "", kFromLog},
        {"8", "", kFromLog},
        {"8", "ADL2_New_QueryPMLogData_Get", kFromOverdriveN + kFromOverdrive6 + kFromOverdrive5},
        {"7", "", kFromOverdriveN + kFromOverdrive6 + kFromOverdrive5},
        {"7", "ADL2_OverdriveN_Temperature_Get", kFromOverdrive6 + kFromOverdrive5},
        {"6", "", "edge 52.75; " + kFromOverdrive6 + kFromOverdrive5},
        {"6", "ADL2_Overdrive6_CurrentPower_Get", readings5},
        {"5", "ADL_Overdrive5_Temperature_Get", kFromOverdrive5},
        {"5", "ADL_Overdrive5_CurrentActivity_Get", "edge 52.75; "},
        {"8", "ADL_Overdrive_Caps", readings5},
        {"8", "", readings5, false},
    };
    for (const Case& one : cases)
    {
        SCOPED_TRACE(std::string(one.version) + " " + one.failing);
        adl().library = one.hasContext ? Section() : Section{{"context", "none"}};
        Section adapter = everything(one.version);
        adapter[one.failing] = "-1";
        std::optional<AMDGroup> owner;
        const auto& gpu = groupOf(adapter, owner).gpus().at(0);
        EXPECT_EQ(describe(gpu->readings()), one.readings);
        EXPECT_EQ(gpu->update(), 0);
        EXPECT_EQ(gpu->temperature(), gpu->readings().edgeTemperature);
    }
}

TEST_F(AMDGPUTest, ScalesTemperaturesAndChecksActivity)
{
    const std::pair<Section, const char*> cases[] = {
        // Drivers report degrees or thousandths of a degree.
        {{{"version", "7"}, {"overdriveN.1", "999"}}, "edge 999; "},
        {{{"version", "7"}, {"overdriveN.1", "1000"}, {"overdriveN.7", "-5"}}, "edge 1; hot spot -5; "},
        {{{"version", "5"}, {"overdrive5.temperature", "45"}}, "edge 0.045; "},
        {{{"version", "5"}, {"overdrive5.voltage", "0"}, {"overdrive5.activity", "100"}}, "graphics % 100; "},
        {{{"version", "5"}, {"overdrive5.voltage", "1"}, {"overdrive5.activity", "101"}}, "graphics V 0.001; "},
    };
    for (const auto& [adapter, readings] : cases)
    {
        std::optional<AMDGroup> owner;
        EXPECT_EQ(describe(groupOf(adapter, owner).gpus()[0]->readings()), readings);
    }

    // The float nearest to the decimal value, as it is written into the documents.
    std::optional<AMDGroup> owner;
    EXPECT_EQ(groupOf({{"version", "5"}, {"overdrive5.temperature", "45300"}}, owner).gpus()[0]->temperature(), 45.3f);
}

// A failing call keeps what was read before; a sensor that the log marks as not supported has no reading.
TEST_F(AMDGPUTest, RefreshesWhatItCanRead)
{
    struct Case
    {
        Section before;
        Section after;
        std::string readings;
    };
    const Case cases[] = {
        {everything("6"),
         {{"overdrive6.1", "7"}},
         "edge 52.75; graphics W 203; ppt W 7; socket W 202; asic W 200; " + kFromOverdrive5},
        {everything("8"), {{"log", "1"}, {"log.8", "0"}, {"log.21", "981"}}, "edge 0; graphics V 0.981; "},
    };
    for (const Case& one : cases)
    {
        std::optional<AMDGroup> owner;
        const auto& gpu = groupOf(one.before, owner).gpus()[0];
        adl().devices[0] = one.after;
        gpu->update();
        EXPECT_EQ(describe(gpu->readings()), one.readings);
    }
}
}
