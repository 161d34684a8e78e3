#include "hw-inventory-impl/lib/GPU/Adl.h"
#include "tests/system/gpu/VendorMachine.h"

#include <algorithm>
#include <cstring>

// AMD's library as its documentation describes it, over the recorded adapters. It refuses what the real one refuses: records
// without their size, and memory that the caller's allocator does not give.
using namespace HardwareInventory::Adl;
using fakes::recordCall;
using fakes::Section;
using fakes::vendorMachine;

namespace
{
constexpr int kError = -1;
constexpr int kInvalidSize = -2;
constexpr int kInvalidIndex = -5;
constexpr int kNotSupported = -8;

// Any address will do: the context is opaque.
int contextStorage;

const Section& recordedLibrary()
{
    return vendorMachine().adl.library;
}

int resultOf(const char* function)
{
    return static_cast<int>(recordedLibrary().number(function).value_or(kOk));
}

// What the library takes from the allocator it keeps.
bool allocates(MemoryCallback allocate)
{
    constexpr int size = 64;
    static auto& kept = *new std::vector<void*>;
    kept.push_back(allocate(size));
    if (!kept.back())
        return false;
    std::memset(kept.back(), 0, size);
    return allocate(-1) == nullptr;
}

int create(const char* function, MemoryCallback allocate, int connectedAdaptersOnly)
{
    recordCall(fakes::callText(function, connectedAdaptersOnly));
    return allocates(allocate) ? resultOf(function) : kError;
}

const Section* adapterOf(int index)
{
    const auto& adapters = vendorMachine().adl.devices;
    const auto adapter =
        std::ranges::find_if(adapters, [&](const Section& section) { return section.number("index").value_or(0) == index; });
    return adapter == adapters.end() ? nullptr : &*adapter;
}

// The recorded failure of a call for an adapter, or the recorded value.
int give(const char* function, int index, const std::string& key, int& value)
{
    const Section* const adapter = adapterOf(index);
    if (!adapter)
        return kInvalidIndex;
    const int recorded = static_cast<int>(adapter->number(function).value_or(resultOf(function)));
    if (recorded != kOk)
        return recorded;
    if (!adapter->contains(key))
        return kNotSupported;
    value = static_cast<int>(*adapter->number(key));
    return kOk;
}

// No terminator when the text is as long as the field.
template <std::size_t Size>
void fill(char (&field)[Size], const std::string& text)
{
    std::memcpy(field, text.data(), std::min(Size, text.size()));
}

AdapterInfo infoOf(const Section& section)
{
    const auto number = [&](const char* key) { return static_cast<int>(section.number(key).value_or(0)); };
    AdapterInfo info{};
    info.iSize = sizeof(info);
    info.iAdapterIndex = number("index");
    info.iBusNumber = number("bus");
    info.iDeviceNumber = number("device");
    info.iFunctionNumber = number("function");
    info.iVendorID = static_cast<int>(section.number("vendor").value_or(kAMDVendor));
    fill(info.strAdapterName, section.text("name"));
    std::memset(info.strDisplayName, '!', sizeof(info.strDisplayName)); // what lies behind the name is no terminator
    return info;
}
}

extern "C"
{
int ADL_Main_Control_Create(MemoryCallback allocate, int connectedAdaptersOnly)
{
    return create("ADL_Main_Control_Create", allocate, connectedAdaptersOnly);
}

int ADL2_Main_Control_Create(MemoryCallback allocate, int connectedAdaptersOnly, Context* context)
{
    *context = recordedLibrary().text("context") == "none" ? nullptr : &contextStorage;
    return create("ADL2_Main_Control_Create", allocate, connectedAdaptersOnly);
}

int ADL_Main_Control_Destroy()
{
    recordCall("ADL_Main_Control_Destroy");
    return kOk;
}

int ADL2_Main_Control_Destroy(Context context)
{
    recordCall(fakes::callText("ADL2_Main_Control_Destroy", context == &contextStorage));
    return kOk;
}

int ADL_Adapter_NumberOfAdapters_Get(int* count)
{
    recordCall("ADL_Adapter_NumberOfAdapters_Get");
    *count = static_cast<int>(recordedLibrary().number("count").value_or(vendorMachine().adl.devices.size()));
    return resultOf("ADL_Adapter_NumberOfAdapters_Get");
}

int ADL_Adapter_AdapterInfo_Get(AdapterInfo* adapters, int bytes)
{
    recordCall(fakes::callText("ADL_Adapter_AdapterInfo_Get", bytes));
    const auto* const begin = reinterpret_cast<const char*>(adapters);
    if (bytes < 0 || std::any_of(begin, begin + bytes, [](char byte) { return byte != 0; }))
        return kInvalidSize;
    const auto& recorded = vendorMachine().adl.devices;
    const std::size_t count = std::min(recorded.size(), bytes / sizeof(AdapterInfo));
    for (std::size_t i = 0; i < count; ++i)
        adapters[i] = infoOf(recorded[i]);
    return resultOf("ADL_Adapter_AdapterInfo_Get");
}

int ADL_Adapter_Active_Get(int adapter, int* active)
{
    recordCall(fakes::callText("ADL_Adapter_Active_Get", adapter));
    if (!adapterOf(adapter))
        return kInvalidIndex;
    *active = static_cast<int>(adapterOf(adapter)->number("active").value_or(1));
    return static_cast<int>(adapterOf(adapter)->number("ADL_Adapter_Active_Get").value_or(kOk));
}

int ADL_Overdrive_Caps(int adapter, int* supported, int* enabled, int* version)
{
    recordCall(fakes::callText("ADL_Overdrive_Caps", adapter));
    *supported = *enabled = 1;
    *version = 9; // what a failing call leaves behind must not be taken
    return give("ADL_Overdrive_Caps", adapter, "version", *version);
}

int ADL2_New_QueryPMLogData_Get(Context context, int adapter, PMLogDataOutput* log)
{
    recordCall(fakes::callText("ADL2_New_QueryPMLogData_Get", adapter));
    if (context != &contextStorage || log->size != sizeof(*log))
        return kInvalidSize;
    int logged = 0;
    if (const int result = give("ADL2_New_QueryPMLogData_Get", adapter, "log", logged); result != kOk)
        return result;
    for (std::size_t i = 0; i < kSensors; ++i)
    {
        const auto value = adapterOf(adapter)->number("log." + std::to_string(i));
        log->sensors[i] = {value.has_value(), static_cast<int>(value.value_or(77777))};
    }
    return kOk;
}

int ADL2_Overdrive6_CurrentPower_Get(Context context, int adapter, int type, int* value)
{
    recordCall(fakes::callText("ADL2_Overdrive6_CurrentPower_Get", adapter, type));
    return context == &contextStorage
               ? give("ADL2_Overdrive6_CurrentPower_Get", adapter, "overdrive6." + std::to_string(type), *value)
               : kError;
}

int ADL2_OverdriveN_Temperature_Get(Context context, int adapter, int type, int* value)
{
    recordCall(fakes::callText("ADL2_OverdriveN_Temperature_Get", adapter, type));
    return context == &contextStorage
               ? give("ADL2_OverdriveN_Temperature_Get", adapter, "overdriveN." + std::to_string(type), *value)
               : kError;
}

int ADL_Overdrive5_Temperature_Get(int adapter, int controller, Temperature* temperature)
{
    recordCall(fakes::callText("ADL_Overdrive5_Temperature_Get", adapter, controller));
    if (temperature->iSize != sizeof(*temperature))
        return kInvalidSize;
    return give("ADL_Overdrive5_Temperature_Get", adapter, "overdrive5.temperature", temperature->iTemperature);
}

int ADL_Overdrive5_CurrentActivity_Get(int adapter, PMActivity* activity)
{
    recordCall(fakes::callText("ADL_Overdrive5_CurrentActivity_Get", adapter));
    if (activity->iSize != sizeof(*activity))
        return kInvalidSize;
    if (const int result = give("ADL_Overdrive5_CurrentActivity_Get", adapter, "overdrive5.voltage", activity->iVddc);
        result != kOk)
        return result;
    return give("ADL_Overdrive5_CurrentActivity_Get", adapter, "overdrive5.activity", activity->iActivityPercent);
}
}

#define NAMED(function) \
    { \
        #function, reinterpret_cast<void*>(&function) \
    }

fakes::Procedures fakes::adlProcedures()
{
    return {
        NAMED(ADL_Main_Control_Create),
        NAMED(ADL2_Main_Control_Create),
        NAMED(ADL_Main_Control_Destroy),
        NAMED(ADL2_Main_Control_Destroy),
        NAMED(ADL_Adapter_NumberOfAdapters_Get),
        NAMED(ADL_Adapter_AdapterInfo_Get),
        NAMED(ADL_Adapter_Active_Get),
        NAMED(ADL_Overdrive_Caps),
        NAMED(ADL2_New_QueryPMLogData_Get),
        NAMED(ADL2_Overdrive6_CurrentPower_Get),
        NAMED(ADL2_OverdriveN_Temperature_Get),
        NAMED(ADL_Overdrive5_Temperature_Get),
        NAMED(ADL_Overdrive5_CurrentActivity_Get),
    };
}
