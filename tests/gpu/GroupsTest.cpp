#include "hw-inventory-impl/lib/GPU/AMDGroup.h"
#include "hw-inventory-impl/lib/GPU/GpuVendorRegistry.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "machine/VendorCalls.h"
#include "st-core/lib/Utf8.h"
#include "tests/runner/Cases.h"
#include "tests/runner/LogCapture.h"

#include <gtest/gtest.h>

#include <deque>

using namespace HardwareInventory;
using Texts = std::vector<std::string>;

namespace
{
Recording* recording = nullptr;
std::set<std::wstring> installed;
bool terminating = false, outOfMemory = false;
Texts calls; // what the end of an object calls and frees

// Libraries of the machine "gpu".
void install(const std::set<std::wstring>& libraries, const Json& answers = Json::object())
{
    Json machine = cases::find("gpu", "machine").recording;
    machine["answers"].update(answers);
    static auto& recordings = *new std::deque<Recording>; // the vendors' libraries are called until the end
    recording = &recordings.emplace_back(Recording::of(machine));
    installed = libraries;
}

// AMD's library takes its memory from its caller.
int createMain(Adl::MemoryCallback allocate, int)
{
    const std::unique_ptr<void, decltype(&std::free)> memory(allocate(16), &std::free);
    return memory && !allocate(-1) ? Adl::kOk : -1;
}

template <class Object>
Texts callsAtEnd()
{
    Object(), calls.clear(); // before the object ends
    return calls;
}

template <const auto& name, class... Arguments>
int noteCall(Arguments...)
{
    return calls.emplace_back(name), 0;
}

constexpr char kNvidia[] = "nvmlShutdown", kAmd[] = "ADL_Main_Control_Destroy", kAmd2[] = "ADL2_Main_Control_Destroy";
const std::map<std::string_view, void*> kOwnFunctions{{"ADL_Main_Control_Create", reinterpret_cast<void*>(&createMain)},
                                                      {kNvidia, reinterpret_cast<void*>(&noteCall<kNvidia>)},
                                                      {kAmd, reinterpret_cast<void*>(&noteCall<kAmd>)},
                                                      {kAmd2, reinterpret_cast<void*>(&noteCall<kAmd2, Adl::Context>)}};
}

Platform::ModuleHandle Platform::loadModule(const wchar_t* name)
{
    const auto found = installed.find(name);
    return found != installed.end() ? const_cast<std::wstring*>(&*found) : nullptr;
}

void* Platform::findProcedure(ModuleHandle module, const char* name)
{
    if (outOfMemory)
        throw std::bad_alloc();
    const bool isAmds = std::string_view(name).starts_with("ADL") && !recording->has("call " + std::string(name) + " by Nvidia");
    if (!module || isAmds == (*static_cast<std::wstring*>(module) == L"nvml.dll"))
        return nullptr;
    return kOwnFunctions.contains(name) ? kOwnFunctions.at(name) : VendorCalls::replay(*recording, name);
}

void Platform::freeModule(ModuleHandle module)
{
    if (module)
        calls.push_back("free " + ZelStdCore::toUtf8(*static_cast<std::wstring*>(module)));
}

bool Platform::processIsTerminating()
{
    return terminating;
}

// Both loaders share one slot, and Nvidia's ran last.
TEST(VendorGroups, EndThroughTheSharedSlot)
{
    const std::set<std::wstring> both{L"atiadlxx.dll", L"nvml.dll"};
    const std::tuple<std::set<std::wstring>, Json, Texts> registries[] = {
        {both, Json::object(), {kNvidia, "free nvml.dll"}},
        {{L"nvml.dll"}, Json::object(), {kNvidia, "free nvml.dll"}},
        {{L"atiadlxx.dll"}, Json::object(), {}},             // the failed search emptied the slot
        {both, {{"call nvmlInit", {9}}}, {"free nvml.dll"}}, // by AMD's group
        {both, {{"call nvmlInit", {9}}, {"call ADL_Main_Control_Destroy by Nvidia", {0}}}, {kAmd, "free nvml.dll"}}};
    for (const auto& [libraries, answers, expected] : registries)
        for (const bool ends : {false, true})
        {
            terminating = ends;
            install(libraries, answers);
            EXPECT_EQ(callsAtEnd<GpuVendorRegistry>(), ends ? Texts() : expected) << answers << " in a process that ends: " << ends;
        }
    terminating = false;
    install(both);
    EXPECT_EQ(callsAtEnd<AMDGroup>(), (Texts{kAmd2, kAmd, "free atiadlxx.dll"}));
    install(both, {{"call ADL2_Main_Control_Create 1", {0, 0}}});
    EXPECT_EQ(callsAtEnd<AMDGroup>(), (Texts{kAmd, "free atiadlxx.dll"})) << "no context";
}

// A failure other than a vendor's passes through, and the next collection starts from the beginning.
TEST(VendorGroups, CompleteTheRecordsOfTheirAdaptersAndWarnOnce)
{
    const LogCapture log;
    install({L"nvml.dll"},
            {{"call nvmlDeviceGetPciInfo_v3 3", {0, {{"busId", "0000:03:00.0"}}}}, {"call nvmlDeviceGetPciInfo_v3 2", {15}}});
    std::vector<GpuInfo> gpus(3); // the last one was not found on the bus
    gpus[0].pciAddress = L"0000:01:00.0";
    gpus[0].serialNumber = L"own";
    gpus[1].pciAddress = L"0000:03:00.0"; // an adapter without a temperature
    gpus[1].temperature = gpus[2].temperature = 1.0f;
    outOfMemory = true;
    EXPECT_THROW(completeFromVendorLibraries(gpus), std::bad_alloc);
    outOfMemory = false;
    completeFromVendorLibraries(gpus);
    completeFromVendorLibraries(gpus);
    EXPECT_TRUE(gpus[0].temperature == 45.0f && !gpus[1].temperature && gpus[2].temperature == 1.0f);
    EXPECT_EQ(gpus[0].serialNumber, L"own");
    EXPECT_EQ(log.lines(), (LogCapture::Lines{{1, "error retrieving AMD information: ADL Library not found!"}}));
}
