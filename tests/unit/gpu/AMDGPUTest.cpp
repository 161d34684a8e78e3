#include "hw-inventory-impl/lib/GPU/AMDGPU.h"

#include "hw-inventory-impl/lib/GPU/AMDGroup.h"
#include "tests/unit/gpu/GpuTest.h"

#include <sstream>

using namespace HardwareInventory;
using namespace fakes;

namespace
{
// The readings that are present, as "name value".
std::string describe(const AmdReadings& readings)
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

// An adapter that answers every call, each with values of its own.
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

// The calls of one update() by the step that makes them.
const std::vector<std::string> kLogCalls = {"ADL2_New_QueryPMLogData_Get 0"};
const std::vector<std::string> kOverdriveNCalls = {
    "ADL2_OverdriveN_Temperature_Get 0 1", "ADL2_OverdriveN_Temperature_Get 0 2", "ADL2_OverdriveN_Temperature_Get 0 3",
    "ADL2_OverdriveN_Temperature_Get 0 4", "ADL2_OverdriveN_Temperature_Get 0 5", "ADL2_OverdriveN_Temperature_Get 0 6",
    "ADL2_OverdriveN_Temperature_Get 0 7"};
const std::vector<std::string> kTemperatureCalls = {"ADL_Overdrive5_Temperature_Get 0 0"};
const std::vector<std::string> kPowerCalls = {"ADL2_Overdrive6_CurrentPower_Get 0 0", "ADL2_Overdrive6_CurrentPower_Get 0 3",
                                              "ADL2_Overdrive6_CurrentPower_Get 0 1", "ADL2_Overdrive6_CurrentPower_Get 0 2"};
const std::vector<std::string> kActivityCalls = {"ADL_Overdrive5_CurrentActivity_Get 0"};

std::vector<std::string> joined(std::initializer_list<std::vector<std::string>> steps)
{
    std::vector<std::string> calls;
    for (const auto& step : steps)
        calls.insert(calls.end(), step.begin(), step.end());
    return calls;
}

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

TEST_F(AMDGPUTest, ReadsThroughTheBestInterfaceOfItsOverdriveVersion)
{
    struct Case
    {
        const char* name;
        Section library;
        Section adapter;
        std::vector<std::string> calls;
        std::string readings;
    };
    const auto failing = [](Section adapter, const char* call) {
        adapter[call] = "-1";
        return adapter;
    };
    const auto steps7 = joined({kOverdriveNCalls, kPowerCalls, kActivityCalls});
    const auto steps6 = joined({kTemperatureCalls, kPowerCalls, kActivityCalls});
    const auto steps5 = joined({kTemperatureCalls, kActivityCalls});
    const std::string readings5 = "edge 52.75; " + kFromOverdrive5;
    const Section noContext = {{"context", "none"}};
    const Case cases[] = {
        {"9", {}, everything("9"), kLogCalls, kFromLog},
        {"8", {}, everything("8"), kLogCalls, kFromLog},
        {"8, log fails", {}, failing(everything("8"), "ADL2_New_QueryPMLogData_Get"), joined({kLogCalls, steps7}),
         kFromOverdriveN + kFromOverdrive6 + kFromOverdrive5},
        {"7", {}, everything("7"), steps7, kFromOverdriveN + kFromOverdrive6 + kFromOverdrive5},
        {"7, temperatures fail", {}, failing(everything("7"), "ADL2_OverdriveN_Temperature_Get"), steps7,
         kFromOverdrive6 + kFromOverdrive5},
        {"6", {}, everything("6"), steps6, "edge 52.75; " + kFromOverdrive6 + kFromOverdrive5},
        {"6, power fails", {}, failing(everything("6"), "ADL2_Overdrive6_CurrentPower_Get"), steps6, readings5},
        {"5", {}, everything("5"), steps5, readings5},
        {"5, temperature fails", {}, failing(everything("5"), "ADL_Overdrive5_Temperature_Get"), steps5, kFromOverdrive5},
        {"5, activity fails", {}, failing(everything("5"), "ADL_Overdrive5_CurrentActivity_Get"), steps5, "edge 52.75; "},
        {"capabilities fail", {}, failing(everything("8"), "ADL_Overdrive_Caps"), steps5, readings5},
        {"8, no context", noContext, everything("8"), steps5, readings5},
        {"6, no context", noContext, everything("6"), steps5, readings5},
    };
    for (const Case& one : cases)
    {
        SCOPED_TRACE(one.name);
        adl().library = one.library;
        std::optional<AMDGroup> owner;
        const auto& gpu = groupOf(one.adapter, owner).gpus().at(0);
        EXPECT_EQ(gpu->overdriveVersion(), one.adapter.contains("ADL_Overdrive_Caps") ? -1 : one.adapter.number("version"));
        EXPECT_EQ(describe(gpu->readings()), one.readings);
        takeCalls();
        EXPECT_EQ(gpu->update(), 0);
        EXPECT_EQ(takeCalls(), one.calls);
        EXPECT_EQ(gpu->temperature(), gpu->readings().edgeTemperature);
        EXPECT_EQ(gpu->serial(), "");
    }
}

TEST_F(AMDGPUTest, TakesOnlyWhatTheLogSupports)
{
    std::optional<AMDGroup> owner;
    const auto& gpu = groupOf({{"version", "8"}, {"log", "1"}, {"log.8", "0"}, {"log.21", "981"}}, owner).gpus()[0];
    EXPECT_EQ(describe(gpu->readings()), "edge 0; graphics V 0.981; ");

    adl().devices[0] = {{"version", "8"}, {"log", "1"}, {"log.27", "-5"}};
    gpu->update();
    EXPECT_EQ(describe(gpu->readings()), "hot spot -5; ");
}

TEST_F(AMDGPUTest, ScalesTemperaturesAndJudgesActivity)
{
    struct Case
    {
        Section adapter;
        const char* readings;
    };
    const Case cases[] = {
        // Drivers answer in degrees or in thousandths of a degree.
        {{{"version", "7"}, {"overdriveN.1", "61"}}, "edge 61; "},
        {{{"version", "7"}, {"overdriveN.1", "999"}}, "edge 999; "},
        {{{"version", "7"}, {"overdriveN.1", "1000"}}, "edge 1; "},
        {{{"version", "7"}, {"overdriveN.1", "61500"}, {"overdriveN.7", "72"}}, "edge 61.5; hot spot 72; "},
        {{{"version", "7"}, {"overdriveN.1", "-5"}}, "edge -5; "},
        {{{"version", "5"}, {"overdrive5.temperature", "45"}}, "edge 0.045; "},
        {{{"version", "5"}, {"overdrive5.voltage", "0"}, {"overdrive5.activity", "100"}}, "graphics % 100; "},
        {{{"version", "5"}, {"overdrive5.voltage", "-1"}, {"overdrive5.activity", "0"}}, "graphics % 0; "},
        {{{"version", "5"}, {"overdrive5.voltage", "1"}, {"overdrive5.activity", "101"}}, "graphics V 0.001; "},
    };
    for (const Case& one : cases)
    {
        std::optional<AMDGroup> owner;
        EXPECT_EQ(describe(groupOf(one.adapter, owner).gpus()[0]->readings()), one.readings);
    }

    // The float nearest to the decimal value, as it is written into the documents.
    std::optional<AMDGroup> owner;
    EXPECT_EQ(groupOf({{"version", "5"}, {"overdrive5.temperature", "45300"}}, owner).gpus()[0]->temperature(), 45.3f);
}

TEST_F(AMDGPUTest, KeepsWhatAFailingReadDoesNotRefresh)
{
    std::optional<AMDGroup> owner;
    const auto& gpu = groupOf(everything("6"), owner).gpus()[0];
    adl().devices[0] = {{"overdrive6.1", "7"}};
    gpu->update();
    EXPECT_EQ(describe(gpu->readings()),
              "edge 52.75; graphics W 203; ppt W 7; socket W 202; asic W 200; " + kFromOverdrive5);
}
}
