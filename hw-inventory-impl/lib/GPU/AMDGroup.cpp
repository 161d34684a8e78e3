#include "hw-inventory-impl/lib/GPU/AMDGroup.h"

#include "hw-inventory-impl/lib/GPU/GPUException.h"
#include "hw-inventory-impl/lib/GPU/VendorModule.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace HardwareInventory
{
namespace Adl
{
Library& library()
{
    static constinit Library instance;
    return instance;
}
}

namespace
{
using Adapters = std::unique_ptr<Adl::AdapterInfo[]>;
using VendorModule::resolve;

// ADL keeps this function for as long as it is loaded. This DLL is pinned from the first collection on, so the callback stays
// valid. The memory is never freed here.
void* allocate(int size) noexcept
{
    return size < 0 ? nullptr : std::malloc(static_cast<std::size_t>(size));
}

void loadLibrary()
{
    if (!VendorModule::load({L"atiadlxx.dll", L"atiadlxy.dll"}))
        throw AMDException("ADL Library not found!");

    Adl::Library& library = Adl::library();
    library = {};
    Adl::Functions& adl = library.functions;
    // The first interface is initialised before the other functions are looked up.
    resolve<AMDException>(adl.ADL_Main_Control_Create, "ADL_Main_Control_Create");
    if (adl.ADL_Main_Control_Create(allocate, Adl::kConnectedAdaptersOnly) != Adl::kOk)
        throw AMDException("ERROR: ADL Initialization error!");
    resolve<AMDException>(adl.ADL2_Main_Control_Create, "ADL2_Main_Control_Create");
    resolve<AMDException>(adl.ADL_Adapter_NumberOfAdapters_Get, "ADL_Adapter_NumberOfAdapters_Get");
    resolve<AMDException>(adl.ADL_Adapter_AdapterInfo_Get, "ADL_Adapter_AdapterInfo_Get");
    resolve<AMDException>(adl.ADL_Adapter_Active_Get, "ADL_Adapter_Active_Get");
    resolve<AMDException>(adl.ADL_Overdrive_Caps, "ADL_Overdrive_Caps");
    resolve<AMDException>(adl.ADL2_New_QueryPMLogData_Get, "ADL2_New_QueryPMLogData_Get");
    resolve<AMDException>(adl.ADL2_Overdrive6_CurrentPower_Get, "ADL2_Overdrive6_CurrentPower_Get");
    resolve<AMDException>(adl.ADL2_OverdriveN_Temperature_Get, "ADL2_OverdriveN_Temperature_Get");
    resolve<AMDException>(adl.ADL_Overdrive5_Temperature_Get, "ADL_Overdrive5_Temperature_Get");
    resolve<AMDException>(adl.ADL_Overdrive5_CurrentActivity_Get, "ADL_Overdrive5_CurrentActivity_Get");
    if (adl.ADL2_Main_Control_Create(allocate, Adl::kConnectedAdaptersOnly, &library.context) != Adl::kOk)
        throw AMDException("ERROR: ADL2 Initialization error!");
}

int countAdapters()
{
    int count = 0;
    Adl::library().functions.ADL_Adapter_NumberOfAdapters_Get(&count);
    if (count < 1)
        throw AMDException("ERROR: No adapters found in this system!");
    return count;
}

Adapters readAdapters(int count)
{
    // ADL takes the size in bytes as an int. More adapters than fit in that, or in memory, are a failed read.
    constexpr int kRecordSize = sizeof(Adl::AdapterInfo);
    Adapters adapters;
    if (count <= std::numeric_limits<int>::max() / kRecordSize)
        adapters.reset(new (std::nothrow) Adl::AdapterInfo[static_cast<std::size_t>(count)]());
    if (!adapters || Adl::library().functions.ADL_Adapter_AdapterInfo_Get(adapters.get(), count * kRecordSize) != Adl::kOk)
        throw AMDException("ERROR:Could't get adapter info for the system!");
    return adapters;
}
}

AMDGroup::AMDGroup()
{
    loadLibrary();
    const int count = countAdapters();
    const Adapters adapters = readAdapters(count);
    for (int i = 0; i < count; ++i)
        add(adapters[i]);
}

AMDGroup::~AMDGroup()
{
    if (Platform::processIsTerminating())
        return;

    const Adl::Library& adl = Adl::library();
    const auto destroyContext = reinterpret_cast<Adl::DestroyContext>(VendorModule::procedure("ADL2_Main_Control_Destroy"));
    const auto destroy = reinterpret_cast<Adl::Destroy>(VendorModule::procedure("ADL_Main_Control_Destroy"));
    if (destroyContext && adl.context)
        destroyContext(adl.context);
    if (destroy)
        destroy();
    VendorModule::unload();
}

void AMDGroup::add(const Adl::AdapterInfo& adapter)
{
    // Only the call's success counts, deliberately: an inactive adapter is taken too.
    int active = 0;
    const int result = Adl::library().functions.ADL_Adapter_Active_Get(adapter.iAdapterIndex, &active);
    if (result != Adl::kOk || adapter.iVendorID != Adl::kAMDVendor)
        return;

    const std::string address = amdPciAddress(adapter.iBusNumber, adapter.iDeviceNumber, adapter.iFunctionNumber);
    if (byPciAddress_.contains(address))
        return;
    const auto gpu = std::make_shared<AMDGPU>(VendorModule::boundedText(adapter.strAdapterName), adapter.iAdapterIndex,
                                              adapter.iBusNumber, adapter.iDeviceNumber, adapter.iFunctionNumber);
    byPciAddress_.emplace(address, gpu);
    gpus_.push_back(gpu);
}
}
