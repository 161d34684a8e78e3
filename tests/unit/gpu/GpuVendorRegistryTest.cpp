#include "hw-inventory-impl/lib/GPU/GpuVendorRegistry.h"

#include "tests/unit/gpu/GpuTest.h"

#include <new>

using namespace HardwareInventory;
using namespace fakes;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace
{
const Section kNvidia = {{"busId", "0000:01:00.0"}, {"temperature", "45"}, {"serial", "0320718000001"}};
const Section kAMD = {{"bus", "3"}, {"version", "5"}, {"overdrive5.temperature", "52750"}};

GpuInfo record(const wchar_t* pciAddress, const wchar_t* serialNumber = L"")
{
    GpuInfo gpu;
    gpu.pciAddress = pciAddress;
    gpu.serialNumber = serialNumber;
    return gpu;
}

class GpuVendorRegistryTest : public GpuTest
{
protected:
    // The records' temperatures and serial numbers, as the libraries complete them.
    static std::vector<std::pair<std::optional<float>, std::wstring>> completed(std::vector<GpuInfo> gpus)
    {
        completeFromVendorLibraries(gpus);
        std::vector<std::pair<std::optional<float>, std::wstring>> facts;
        for (const GpuInfo& gpu : gpus)
            facts.emplace_back(gpu.temperature, gpu.serialNumber);
        return facts;
    }

    LogCapture log_;
};

TEST_F(GpuVendorRegistryTest, WarnsOncePerProcessOfMissingLibraries)
{
    EXPECT_THAT(completed({record(L"0000:01:00.0"), record(L"", L"own")}),
                ElementsAre(Pair(std::nullopt, L""), Pair(std::nullopt, L"own")));
    EXPECT_THAT(log_.lines(), ElementsAre(Pair(1u, "error retrieving AMD information: ADL Library not found!"),
                                          Pair(1u, "error retrieving Nvidia information: NVML Library not found!")));

    log_.clear();
    completed({record(L"0000:01:00.0")});
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(GpuVendorRegistryTest, CompletesTheRecordsOfItsAdaptersOnly)
{
    installNvml();
    installAdl();
    nvml().devices = {kNvidia,
                      {{"busId", "0000:0A:00.0"}, {"temperature", "70"}, {"serial", "upper case"}},
                      {{"busId", "0000:0B:00.0"}},
                      {{"temperature", "99"}, {"serial", "without an address"}}};
    adl().devices = {kAMD};
    const std::vector<GpuInfo> gpus = {record(L"0000:01:00.0"),
                                       record(L"0000:03:00.0"),
                                       record(L"0000:01:00.0", L"own"),
                                       record(L"0000:0a:00.0"),
                                       record(L"0000:01:00.1"),
                                       record(L"0001:01:00.0"),
                                       record(L"")};
    EXPECT_THAT(completed(gpus),
                ElementsAre(Pair(45.0f, L"0320718000001"), Pair(52.75f, L""), Pair(45.0f, L"own"), Pair(std::nullopt, L""),
                            Pair(std::nullopt, L""), Pair(std::nullopt, L""), Pair(std::nullopt, L"")));
    EXPECT_THAT(log_.lines(), IsEmpty());

    // The next collection refreshes the values, but not the set of adapters.
    nvml().devices[0]["temperature"] = "46";
    nvml().devices.push_back({{"busId", "0000:01:00.1"}, {"temperature", "99"}});
    adl().devices[0]["overdrive5.temperature"] = "53000";
    EXPECT_THAT(completed(gpus), testing::Contains(Pair(46.0f, L"own")));
    EXPECT_THAT(completed(gpus), testing::Contains(Pair(53.0f, L"")));
    EXPECT_THAT(completed(gpus), testing::Not(testing::Contains(Pair(99.0f, testing::_))));

    // A record that was given a temperature before loses it: the libraries' temperature replaces it, an absent one too.
    std::vector<GpuInfo> preset = {record(L"0000:03:00.0"), record(L"0000:0B:00.0"), record(L"0000:0c:00.0")};
    for (GpuInfo& gpu : preset)
        gpu.temperature = 1.0f;
    EXPECT_THAT(completed(preset), ElementsAre(Pair(53.0f, L""), Pair(std::nullopt, L""), Pair(1.0f, L"")));
}

TEST_F(GpuVendorRegistryTest, RefreshesEvenWithoutRecords)
{
    installNvml();
    nvml().devices = {kNvidia};
    std::vector<GpuInfo> none;
    completeFromVendorLibraries(none);
    EXPECT_THAT(takeCalls(), testing::Contains("nvmlDeviceGetTemperature 0").Times(2)) << "once made, once refreshed";
}

TEST_F(GpuVendorRegistryTest, LetsNvidiaReplaceAnAdapterOfTheSameAddress)
{
    installNvml();
    installAdl();
    adl().devices = {kAMD};
    nvml().devices = {{{"busId", "0000:03:00.0"}, {"temperature", "20"}}, {{"busId", "0000:03:00.0"}, {"temperature", "30"}}};
    GpuVendorRegistry registry;
    ASSERT_NE(registry.find(L"0000:03:00.0"), nullptr);
    EXPECT_EQ(registry.find(L"0000:03:00.0")->temperature(), 30.0f);
    takeCalls();
    registry.refreshAll();
    EXPECT_THAT(takeCalls(), testing::Each(testing::EndsWith(" 1"))) << "a replaced adapter is not refreshed";
}

// One vendor's failure leaves the other's adapters, and nothing half-built behind.
TEST_F(GpuVendorRegistryTest, CarriesOnWithoutAVendorThatFails)
{
    struct Case
    {
        Section nvml;
        Section adl;
        const char* warning;
        const wchar_t* left;
        const wchar_t* absent;
    };
    const Case cases[] = {
        {{{"count", "2"}},
         {},
         "error retrieving Nvidia information: Error on getting handle by index: reason 2 [2]",
         L"0000:03:00.0",
         L"0000:01:00.0"},
        {{},
         {{"ADL2_Main_Control_Create", "-1"}},
         "error retrieving AMD information: ERROR: ADL2 Initialization error!",
         L"0000:01:00.0",
         L"0000:03:00.0"},
    };
    installNvml();
    installAdl();
    nvml().devices = {kNvidia};
    adl().devices = {kAMD};
    for (const Case& one : cases)
    {
        SCOPED_TRACE(one.warning);
        nvml().library = one.nvml;
        adl().library = one.adl;
        log_.clear();
        GpuVendorRegistry registry;
        registry.logFailures();
        registry.logFailures();
        EXPECT_THAT(log_.lines(), ElementsAre(Pair(1u, one.warning)));
        EXPECT_NE(registry.find(one.left), nullptr);
        EXPECT_EQ(registry.find(one.absent), nullptr);
        registry.refreshAll();
    }
}

// What the end of the registry calls and frees: both loaders share one slot, and Nvidia's ran last.
TEST_F(GpuVendorRegistryTest, EndsThroughTheSharedSlot)
{
    struct Case
    {
        const char* name;
        bool nvml;
        bool adl;
        bool terminating;
        Section nvmlLibrary;
        std::vector<std::string> calls;
        std::vector<std::wstring> freed;
    };
    const Case cases[] = {
        {"both", true, true, false, {}, {"nvmlShutdown"}, {L"nvml.dll"}},
        {"Nvidia alone", true, false, false, {}, {"nvmlShutdown"}, {L"nvml.dll"}},
        {"AMD alone: the failed search emptied the slot", false, true, false, {}, {}, {}},
        {"both, Nvidia not initialised: AMD frees its library", true, true, false, {{"nvmlInit", "9"}}, {}, {L"nvml.dll"}},
        {"both in a process that ends", true, true, true, {}, {}, {}},
        {"Nvidia not initialised in a process that ends", true, true, true, {{"nvmlInit", "9"}}, {}, {}},
    };
    for (const Case& one : cases)
    {
        SCOPED_TRACE(one.name);
        machine() = {};
        vendorMachine() = {};
        if (one.nvml)
            installNvml();
        if (one.adl)
            installAdl();
        nvml() = {one.nvmlLibrary, {kNvidia}};
        adl().devices = {kAMD};
        {
            GpuVendorRegistry registry;
            machine().terminating = one.terminating;
            takeCalls();
            vendorMachine().onCall = [](const std::string& call)
            { EXPECT_THAT(machine().freedModules, IsEmpty()) << call << " in a freed library"; };
        }
        EXPECT_EQ(takeCalls(), one.calls);
        EXPECT_EQ(machine().freedModules, one.freed);
    }
}

// The AMD group looks its last functions up in whatever library the slot holds.
TEST_F(GpuVendorRegistryTest, LooksAmdsLastFunctionsUpInTheSlot)
{
    installNvml();
    installAdl();
    nvml().library = {{"nvmlInit", "9"}};
    adl().devices = {kAMD};
    machine().modules[L"nvml.dll"]["ADL_Main_Control_Destroy"] = adlProcedures().at("ADL_Main_Control_Destroy");
    {
        GpuVendorRegistry registry;
        takeCalls();
    }
    EXPECT_THAT(takeCalls(), ElementsAre("ADL_Main_Control_Destroy"));
    EXPECT_THAT(machine().freedModules, ElementsAre(L"nvml.dll"));
}

// Any other failure passes through, and the next collection starts from the beginning.
TEST_F(GpuVendorRegistryTest, StartsAgainAfterAnotherFailure)
{
    installNvml();
    nvml().devices = {kNvidia};
    machine().fails = [](const char* operation)
    { return std::string_view(operation) == "GetProcAddress" ? throw std::bad_alloc() : false; };
    std::vector<GpuInfo> gpus = {record(L"0000:01:00.0")};
    EXPECT_THROW(completeFromVendorLibraries(gpus), std::bad_alloc);

    machine().fails = [](const char*) { return false; };
    completeFromVendorLibraries(gpus);
    EXPECT_EQ(gpus[0].temperature, 45.0f);
}
}
