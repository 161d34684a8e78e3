#include "hw-inventory-impl/lib/GPU/AMDGroup.h"
#include "hw-inventory-impl/lib/GPU/GPUException.h"
#include "hw-inventory-impl/lib/GPU/GpuVendorRegistry.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "machine/VendorCalls.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Utf8.h"
#include "tests/runner/Cases.h"

#include <gtest/gtest.h>

#include <new>

using namespace HardwareInventory;
using Texts = std::vector<std::string>;

// The libraries of the machine "gpu" that a test installs.
namespace
{
Recording* recording = nullptr;
std::set<std::wstring> installed;
bool terminating = false;
bool outOfMemory = false;

void install(const std::set<std::wstring>& libraries, const Json& answers = {})
{
    Json machine = cases::find("gpu", "machine").recording;
    for (const auto& [question, answer] : answers.items())
        machine["answers"][question] = answer;
    recording = new Recording(Recording::of(machine));
    installed = libraries;
}

// AMD's library takes its memory from its caller.
int createMain(Adl::MemoryCallback allocate, int)
{
    void* const memory = allocate(16);
    const bool allocates = memory && !allocate(-1);
    std::free(memory);
    return allocates ? Adl::kOk : -1;
}

// What the end of an object calls and frees.
Texts calls;

template <class Object>
Texts callsAtEnd()
{
    auto object = std::make_unique<Object>();
    calls.clear();
    object.reset();
    return calls;
}

int noteCall(const char* name)
{
    return calls.emplace_back(name), 0;
}

const std::pair<std::string_view, void*> kOwnFunctions[] = {
    {"ADL_Main_Control_Create", reinterpret_cast<void*>(&createMain)},
    {"nvmlShutdown", reinterpret_cast<void*>(+[] { return noteCall("nvmlShutdown"); })},
    {"ADL_Main_Control_Destroy", reinterpret_cast<void*>(+[] { return noteCall("ADL_Main_Control_Destroy"); })},
    {"ADL2_Main_Control_Destroy", reinterpret_cast<void*>(+[](Adl::Context) { return noteCall("ADL2_Main_Control_Destroy"); })}};

std::string& log()
{
    static std::string lines;
    ZelStdCore::HostLogger::instance().set([](std::uint32_t level, const char* line) { lines += std::to_string(level) + line; });
    return lines;
}
}

namespace HardwareInventory::Platform
{
ModuleHandle loadModule(const wchar_t* name)
{
    const auto found = installed.find(name);
    return found != installed.end() ? const_cast<std::wstring*>(&*found) : nullptr;
}

void* findProcedure(ModuleHandle module, const char* name)
{
    if (outOfMemory)
        throw std::bad_alloc();
    const bool isAmds = std::string_view(name).starts_with("ADL") && !recording->has("call " + std::string(name) + " by Nvidia");
    const bool hasIt = module && isAmds == (*static_cast<std::wstring*>(module) != L"nvml.dll");
    for (const auto& [own, function] : kOwnFunctions)
        if (hasIt && own == name)
            return function;
    return hasIt ? VendorCalls::replay(*recording, name) : nullptr;
}

void freeModule(ModuleHandle module)
{
    if (module)
        calls.push_back("free " + ZelStdCore::toUtf8(*static_cast<std::wstring*>(module)));
}

bool processIsTerminating()
{
    return terminating;
}
}

// Both loaders share one slot, and Nvidia's ran last.
TEST(VendorGroups, EndThroughTheSharedSlot)
{
    const std::set<std::wstring> both{L"atiadlxx.dll", L"nvml.dll"};
    const Json noNvidia{{"call nvmlInit", {9}}};
    const std::tuple<std::set<std::wstring>, Json, Texts> registries[] = {
        {both, {}, {"nvmlShutdown", "free nvml.dll"}},
        {{L"nvml.dll"}, {}, {"nvmlShutdown", "free nvml.dll"}},
        {{L"atiadlxx.dll"}, {}, {}},         // the failed search emptied the slot
        {both, noNvidia, {"free nvml.dll"}}, // by AMD's group
        {both,
         {{"call nvmlInit", {9}}, {"call ADL_Main_Control_Destroy by Nvidia", {0}}},
         {"ADL_Main_Control_Destroy", "free nvml.dll"}},
    };
    for (const auto& [libraries, answers, expected] : registries)
    {
        install(libraries, answers);
        EXPECT_EQ(callsAtEnd<GpuVendorRegistry>(), expected) << answers;
        terminating = true;
        install(libraries, answers);
        EXPECT_EQ(callsAtEnd<GpuVendorRegistry>(), Texts()) << "in a process that ends";
        terminating = false;
    }
    install(both);
    EXPECT_EQ(callsAtEnd<AMDGroup>(), (Texts{"ADL2_Main_Control_Destroy", "ADL_Main_Control_Destroy", "free atiadlxx.dll"}));
    install(both, {{"call ADL2_Main_Control_Create 1", {0, 0}}});
    EXPECT_EQ(callsAtEnd<AMDGroup>(), (Texts{"ADL_Main_Control_Destroy", "free atiadlxx.dll"})) << "no context";
}

// A failure other than a vendor's passes through, and the next collection starts from the beginning.
TEST(VendorGroups, CompleteTheRecordsOfTheirAdaptersAndWarnOnce)
{
    log().clear();
    install({L"nvml.dll"},
            {{"call nvmlDeviceGetPciInfo_v3 3", {0, {{"busId", "0000:03:00.0"}}}}, {"call nvmlDeviceGetPciInfo_v3 2", {15}}});
    outOfMemory = true;
    std::vector<GpuInfo> gpus(4);
    EXPECT_THROW(completeFromVendorLibraries(gpus), std::bad_alloc);
    outOfMemory = false;
    gpus[0].pciAddress = L"0000:01:00.0";
    gpus[0].serialNumber = L"own";
    gpus[1].pciAddress = L"0000:03:00.0"; // an adapter without a temperature
    gpus[2].pciAddress = L"0000:04:00.0"; // another vendor's; the last one was not found on the bus
    for (GpuInfo& gpu : gpus)
        gpu.temperature = 1.0f;
    completeFromVendorLibraries(gpus);
    completeFromVendorLibraries(gpus);
    EXPECT_EQ(gpus[0].temperature, 45.0f);
    EXPECT_EQ(gpus[0].serialNumber, L"own");
    EXPECT_EQ(gpus[1].temperature, std::nullopt);
    EXPECT_EQ(gpus[2].temperature, 1.0f);
    EXPECT_EQ(gpus[3].temperature, 1.0f);
    EXPECT_EQ(log(), "1error retrieving AMD information: ADL Library not found!");
}

TEST(VendorGroups, CutLongTextsOfFailures)
{
    const std::string longest(511, 'x');
    EXPECT_EQ(NvidiaException("%s", longest.c_str()).what(), longest);
    EXPECT_EQ(AMDException("%s [%d]", longest.c_str(), 3).what(), longest);
}
