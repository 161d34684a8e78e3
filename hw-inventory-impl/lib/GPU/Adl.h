#pragma once

#include <cstddef>

// AMD's display library as far as it is used here: its published records and functions in their Windows form.
namespace HardwareInventory::Adl
{
constexpr int kOk = 0;
constexpr int kAMDVendor = 1002; // the library's own decimal number for AMD, not the PCI one
constexpr int kConnectedAdaptersOnly = 1;

struct AdapterInfo
{
    int iSize;
    int iAdapterIndex;
    char strUDID[256];
    int iBusNumber;
    int iDeviceNumber;
    int iFunctionNumber;
    int iVendorID;
    char strAdapterName[256];
    char strDisplayName[256];
    int iPresent;
    int iExist;
    char strDriverPath[256];
    char strDriverPathExt[256];
    char strPNPString[256];
    int iOSDisplayIndex;
};
static_assert(sizeof(AdapterInfo) == 1572);
static_assert(offsetof(AdapterInfo, iBusNumber) == 264 && offsetof(AdapterInfo, iVendorID) == 276);
static_assert(offsetof(AdapterInfo, strAdapterName) == 280 && offsetof(AdapterInfo, iPresent) == 792);
static_assert(offsetof(AdapterInfo, strPNPString) == 1312 && offsetof(AdapterInfo, iOSDisplayIndex) == 1568);

struct SingleSensorData
{
    int supported;
    int value;
};

constexpr std::size_t kSensors = 256;

// Every sensor of an adapter at one moment, indexed by the library's enumeration of sensors.
struct PMLogDataOutput
{
    int size;
    SingleSensorData sensors[kSensors];
};
static_assert(sizeof(PMLogDataOutput) == 2052 && offsetof(PMLogDataOutput, sensors) == 4);

struct PMActivity
{
    int iSize;
    int iEngineClock;
    int iMemoryClock;
    int iVddc; // millivolts
    int iActivityPercent;
    int iCurrentPerformanceLevel;
    int iCurrentBusSpeed;
    int iCurrentBusLanes;
    int iMaximumBusLanes;
    int iReserved;
};
static_assert(sizeof(PMActivity) == 40 && offsetof(PMActivity, iVddc) == 12 && offsetof(PMActivity, iActivityPercent) == 16);

struct Temperature
{
    int iSize;
    int iTemperature; // thousandths of a degree Celsius
};
static_assert(sizeof(Temperature) == 8);

using Context = void*;

// On 64-bit Windows there is one calling convention, so none is named.
using MemoryCallback = void* (*)(int size);
using DestroyContext = int (*)(Context context);
using Destroy = int (*)();

struct Functions
{
    int (*ADL_Main_Control_Create)(MemoryCallback allocate, int connectedAdaptersOnly);
    int (*ADL2_Main_Control_Create)(MemoryCallback allocate, int connectedAdaptersOnly, Context* context);
    int (*ADL_Adapter_NumberOfAdapters_Get)(int* count);
    int (*ADL_Adapter_AdapterInfo_Get)(AdapterInfo* adapters, int bytes);
    int (*ADL_Adapter_Active_Get)(int adapter, int* active);
    int (*ADL_Overdrive_Caps)(int adapter, int* supported, int* enabled, int* version);
    int (*ADL2_New_QueryPMLogData_Get)(Context context, int adapter, PMLogDataOutput* log);
    int (*ADL2_Overdrive6_CurrentPower_Get)(Context context, int adapter, int type, int* value);
    int (*ADL2_OverdriveN_Temperature_Get)(Context context, int adapter, int type, int* value);
    int (*ADL_Overdrive5_Temperature_Get)(int adapter, int controller, Temperature* temperature);
    int (*ADL_Overdrive5_CurrentActivity_Get)(int adapter, PMActivity* activity);
};

// The library of the process: filled by AMDGroup, used by its adapters.
struct Library
{
    Functions functions{};
    Context context = nullptr; // may stay null although the library is initialised
};
Library& library();
}
