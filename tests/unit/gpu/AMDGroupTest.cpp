#include "hw-inventory-impl/lib/GPU/AMDGroup.h"

#include "hw-inventory-impl/lib/GPU/GPUException.h"
#include "tests/unit/gpu/GpuTest.h"

#include <limits>

using namespace HardwareInventory;
using namespace fakes;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
class AMDGroupTest : public GpuTest
{
protected:
    static std::string failure() { return failureOf<AMDGroup, AMDException>(); }

    // The adapters taken, as "address name index".
    static std::vector<std::string> taken()
    {
        std::vector<std::string> adapters;
        const AMDGroup group;
        for (const auto& gpu : group.gpus())
            adapters.push_back(gpu->pciAddress() + " " + gpu->name() + " " + std::to_string(gpu->adapterIndex()));
        return adapters;
    }
};

TEST_F(AMDGroupTest, NamesWhatTheLibraryLacks)
{
    EXPECT_EQ(failure(), "ADL Library not found!");

    // With all symbols absent the first in order is reported; each is then supplied in turn.
    auto& module = machine().modules[L"atiadlxx.dll"];
    for (const std::string symbol :
         {"ADL_Main_Control_Create", "ADL2_Main_Control_Create", "ADL_Adapter_NumberOfAdapters_Get", "ADL_Adapter_AdapterInfo_Get",
          "ADL_Adapter_Active_Get", "ADL_Overdrive_Caps", "ADL2_New_QueryPMLogData_Get", "ADL2_Overdrive6_CurrentPower_Get",
          "ADL2_OverdriveN_Temperature_Get", "ADL_Overdrive5_Temperature_Get", "ADL_Overdrive5_CurrentActivity_Get"})
    {
        EXPECT_EQ(failure(), "ERROR: " + symbol + " not available!");
        // The first interface is initialised as soon as it is found, before anything else is looked up.
        EXPECT_EQ(takeCalls().size(), symbol == "ADL_Main_Control_Create" ? 0u : 1u) << symbol;
        module[symbol] = adlProcedures().at(symbol);
    }
    adl().devices = {{}};
    EXPECT_EQ(failure(), "");
}

TEST_F(AMDGroupTest, ReportsTheStepThatFailed)
{
    installAdl();
    adl().devices = {{}};
    struct Case
    {
        Section library;
        const char* message;
        const char* lastCall;
    };
    const std::string tooMany = std::to_string(std::numeric_limits<int>::max() / 1572 + 1);
    const Case cases[] = {
        {{{"ADL_Main_Control_Create", "1"}}, "ERROR: ADL Initialization error!", "ADL_Main_Control_Create 1"},
        {{{"ADL2_Main_Control_Create", "-1"}}, "ERROR: ADL2 Initialization error!", "ADL2_Main_Control_Create 1"},
        {{{"count", "0"}}, "ERROR: No adapters found in this system!", "ADL_Adapter_NumberOfAdapters_Get"},
        {{{"count", "-3"}}, "ERROR: No adapters found in this system!", "ADL_Adapter_NumberOfAdapters_Get"},
        {{{"count", tooMany}}, "ERROR:Could't get adapter info for the system!", "ADL_Adapter_NumberOfAdapters_Get"},
        {{{"ADL_Adapter_AdapterInfo_Get", "-1"}},
         "ERROR:Could't get adapter info for the system!",
         "ADL_Adapter_AdapterInfo_Get 1572"},
    };
    for (const Case& one : cases)
    {
        adl().library = one.library;
        EXPECT_EQ(failure(), one.message);
        EXPECT_EQ(takeCalls().back(), one.lastCall);
    }
}

TEST_F(AMDGroupTest, TakesTheFirstAdapterOfEachGpu)
{
    installAdl(L"atiadlxy.dll");
    adl().devices = {
        {{"index", "0"}, {"bus", "3"}, {"name", "first output"}},
        {{"index", "1"}, {"bus", "3"}, {"name", "second output"}},
        {{"index", "3"}, {"bus", "3"}, {"function", "1"}, {"name", "its sound"}},
        {{"index", "4"}, {"bus", "4"}, {"vendor", "4098"}, {"name", "by PCI number"}},
        {{"index", "5"}, {"bus", "5"}, {"vendor", "4318"}, {"name", "foreign"}},
        {{"index", "6"}, {"bus", "6"}, {"active", "0"}, {"name", "inactive"}},
        {{"index", "8"}, {"bus", "8"}, {"ADL_Adapter_Active_Get", "1"}, {"name", "warning"}},
    };
    EXPECT_THAT(taken(), ElementsAre("0000:03:00.0 first output 0", "0000:03:00.1 its sound 3", "0000:06:00.0 inactive 6"));
}

TEST_F(AMDGroupTest, WritesAddressesAsWmiRecordsHaveThem)
{
    struct Case
    {
        int bus, device, function;
        const char* address;
    };
    const Case cases[] = {
        {0x0A, 0x1F, 2, "0000:0a:1f.2"}, {0x123405, 0, 0, "1234:05:00.0"},
        {-1, 0, 0, "ffff:ff:00.0"},      {1, 0x12345678, 9, "0000:01:1234"}, // 12 characters at most
        {1, 2, 0x12, "0000:01:02.1"},
    };
    for (const Case& one : cases)
        EXPECT_EQ(amdPciAddress(one.bus, one.device, one.function), one.address);
}

TEST_F(AMDGroupTest, SurvivesAHostileLibrary)
{
    installAdl();
    adl().devices = {{{"index", "0"}, {"name", std::string(300, 'N')}}, {{"index", "1"}, {"bus", "1"}}};
    adl().library = {{"count", "1"}};
    EXPECT_THAT(taken(), ElementsAre("0000:00:00.0 " + std::string(256, 'N') + " 0")) << "fewer promised than there are";

    // More promised than there are: the records that were not filled belong to nobody.
    adl().library = {{"count", "5"}};
    EXPECT_THAT(taken(), testing::SizeIs(2));
}

TEST_F(AMDGroupTest, ReleasesTheLibraryInTheSlot)
{
    installAdl();
    adl().devices = {{}};
    const std::pair<Section, std::vector<std::string>> cases[] = {
        {{}, {"ADL2_Main_Control_Destroy 1", "ADL_Main_Control_Destroy"}},
        {{{"context", "none"}}, {"ADL_Main_Control_Destroy"}},
    };
    vendorMachine().onCall = [](const std::string& call)
    { EXPECT_THAT(machine().freedModules, IsEmpty()) << call << " in a freed library"; };
    for (const auto& [library, calls] : cases)
    {
        adl().library = library;
        {
            const AMDGroup group;
            takeCalls();
        }
        EXPECT_EQ(takeCalls(), calls);
        EXPECT_THAT(machine().freedModules, ElementsAre(L"atiadlxx.dll"));
        machine().freedModules.clear();
    }
}
}
