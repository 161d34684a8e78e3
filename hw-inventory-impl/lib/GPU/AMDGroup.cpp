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
using Adl::Functions;
using Symbol = VendorModule::Symbol<Functions>;

// The first one is called before the others are looked up.
constexpr Symbol kCreate[] = {
    {"ADL_Main_Control_Create", "ERROR: ADL_Main_Control_Create not available!",
     VendorModule::bind<Functions, &Functions::ADL_Main_Control_Create>},
};

constexpr Symbol kSymbols[] = {
    {"ADL2_Main_Control_Create", "ERROR: ADL2_Main_Control_Create not available!",
     VendorModule::bind<Functions, &Functions::ADL2_Main_Control_Create>},
    {"ADL_Adapter_NumberOfAdapters_Get", "ERROR: ADL_Adapter_NumberOfAdapters_Get not available!",
     VendorModule::bind<Functions, &Functions::ADL_Adapter_NumberOfAdapters_Get>},
    {"ADL_Adapter_AdapterInfo_Get", "ERROR: ADL_Adapter_AdapterInfo_Get not available!",
     VendorModule::bind<Functions, &Functions::ADL_Adapter_AdapterInfo_Get>},
    {"ADL_Adapter_Active_Get", "ERROR: ADL_Adapter_Active_Get not available!",
     VendorModule::bind<Functions, &Functions::ADL_Adapter_Active_Get>},
    {"ADL_Overdrive_Caps", "ERROR: ADL_Overdrive_Caps not available!",
     VendorModule::bind<Functions, &Functions::ADL_Overdrive_Caps>},
    {"ADL2_New_QueryPMLogData_Get", "ERROR: ADL2_New_QueryPMLogData_Get not available!",
     VendorModule::bind<Functions, &Functions::ADL2_New_QueryPMLogData_Get>},
    {"ADL2_Overdrive6_CurrentPower_Get", "ERROR: ADL2_Overdrive6_CurrentPower_Get not available!",
     VendorModule::bind<Functions, &Functions::ADL2_Overdrive6_CurrentPower_Get>},
    {"ADL2_OverdriveN_Temperature_Get", "ERROR: ADL2_OverdriveN_Temperature_Get not available!",
     VendorModule::bind<Functions, &Functions::ADL2_OverdriveN_Temperature_Get>},
    {"ADL_Overdrive5_Temperature_Get", "ERROR: ADL_Overdrive5_Temperature_Get not available!",
     VendorModule::bind<Functions, &Functions::ADL_Overdrive5_Temperature_Get>},
    {"ADL_Overdrive5_CurrentActivity_Get", "ERROR: ADL_Overdrive5_CurrentActivity_Get not available!",
     VendorModule::bind<Functions, &Functions::ADL_Overdrive5_CurrentActivity_Get>},
};

// The library keeps this function for as long as it is loaded, which is to the end of the process; so is this one from its
// first collection on. The memory is never given back here.
void* allocate(int size) noexcept
{
    return size < 0 ? nullptr : std::malloc(static_cast<std::size_t>(size));
}
}

AMDGroup::AMDGroup()
{
    if (const char* const failure = loadLibrary())
        throw AMDException("%s", failure);
    for (int i = 0; i < adapterCount_; ++i)
        add(adapters_[i]);
}

AMDGroup::~AMDGroup()
{
    if (Platform::processIsTerminating())
        return;

    Adl::Library& adl = Adl::library();
    const auto destroyContext = reinterpret_cast<Adl::DestroyContext>(VendorModule::procedure("ADL2_Main_Control_Destroy"));
    const auto destroy = reinterpret_cast<Adl::Destroy>(VendorModule::procedure("ADL_Main_Control_Destroy"));
    if (destroyContext && adl.context)
        destroyContext(adl.context);
    if (destroy)
        destroy();
    VendorModule::unload();
}

// The message of the step that failed, or null.
const char* AMDGroup::loadLibrary()
{
    if (!VendorModule::load({L"atiadlxx.dll", L"atiadlxy.dll"}))
        return "ADL Library not found!";

    Adl::Library& adl = Adl::library();
    adl = {};
    if (const char* const missing = VendorModule::bindAll<Functions>(adl.functions, kCreate))
        return missing;
    if (adl.functions.ADL_Main_Control_Create(allocate, Adl::kConnectedAdaptersOnly) != Adl::kOk)
        return "ERROR: ADL Initialization error!";
    if (const char* const missing = VendorModule::bindAll<Functions>(adl.functions, kSymbols))
        return missing;
    if (adl.functions.ADL2_Main_Control_Create(allocate, Adl::kConnectedAdaptersOnly, &adl.context) != Adl::kOk)
        return "ERROR: ADL2 Initialization error!";
    return readAdapters();
}

const char* AMDGroup::readAdapters()
{
    const Functions& functions = Adl::library().functions;
    functions.ADL_Adapter_NumberOfAdapters_Get(&adapterCount_);
    if (adapterCount_ < 1)
        return "ERROR: No adapters found in this system!";

    // The library takes the size in bytes as an int: what does not fit in one, or in memory, cannot be asked for.
    constexpr int kRecordSize = sizeof(Adl::AdapterInfo);
    if (adapterCount_ <= std::numeric_limits<int>::max() / kRecordSize)
        adapters_.reset(new (std::nothrow) Adl::AdapterInfo[static_cast<std::size_t>(adapterCount_)]());
    if (!adapters_ || functions.ADL_Adapter_AdapterInfo_Get(adapters_.get(), adapterCount_ * kRecordSize) != Adl::kOk)
        return "ERROR:Could't get adapter info for the system!";
    return nullptr;
}

void AMDGroup::add(const Adl::AdapterInfo& adapter)
{
    // Only the call's success counts, deliberately: an inactive adapter is taken too.
    int active = 0;
    const int result = Adl::library().functions.ADL_Adapter_Active_Get(adapter.iAdapterIndex, &active);
    if (result != Adl::kOk || adapter.iVendorID != Adl::kAmdVendor)
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
