#include "hw-inventory-impl/lib/DeviceStatus.h"
#include "hw-inventory-impl/lib/GPU/AMDGroup.h"
#include "hw-inventory-impl/lib/GPU/GPUException.h"
#include "hw-inventory-impl/lib/GPU/NvidiaGroup.h"
#include "hw-inventory-impl/lib/SMBIOS/SmbiosInventory.h"
#include "hw-inventory-impl/lib/SMBIOS/Win32Parser.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "machine/Answers.h"
#include "st-core/lib/Utf8.h"
#include "tests/runner/Replay.h"
#include "vm-detect/HostFacts.h"
#include "vm-detect/Rules.h"

#include <cmath>

using namespace HardwareInventory;

template <>
struct nlohmann::adl_serializer<std::wstring>
{
    static void to_json(Json& json, const std::wstring& text) { json = ZelStdCore::toUtf8(text); }
};

template <>
struct nlohmann::adl_serializer<Reading>
{
    static void to_json(Json& json, Reading value) { json = value ? Json(std::round(*value * 1e3) / 1e3) : Json(); }
};

namespace
{
Json device(const DeviceInfo& record, const auto&... more)
{
    return facts("name", record.name, "manufacturer", record.manufacturer, "model", record.model, "status",
                 std::wstring(statusText(record.status)), "place", record.deviceID + record.pciAddress, more...);
}

Json describe(AMDGPU& gpu)
{
    const int result = gpu.update();
    const AMDReadings& r = gpu.readings();
    return facts("update", result, "adapter", Json{gpu.adapterIndex(), gpu.pciAddress(), gpu.name(), gpu.overdriveVersion()},
                 "edge", r.edgeTemperature, "memory", r.memoryTemperature, "vddc", r.vddcRegulatorTemperature, "mvdd",
                 r.mvddRegulatorTemperature, "mvdd0", r.mvdd0RegulatorTemperature, "mvdd1", r.mvdd1RegulatorTemperature, "liquid",
                 r.liquidTemperature, "plx", r.plxTemperature, "hot spot", r.hotSpotTemperature, "soc", r.socRegulatorTemperature,
                 "graphics W", r.graphicsPower, "ppt W", r.pptPower, "socket W", r.socketPower, "asic W", r.asicPower, "soc W",
                 r.socPower, "graphics V", r.graphicsVoltage, "memory V", r.memoryVoltage, "soc V", r.socVoltage, "graphics %",
                 r.graphicsActivity, "memory %", r.memoryActivity);
}

Json describe(NvidiaGPU& gpu)
{
    const int result = gpu.update();
    const NvidiaReadings& r = gpu.readings();
    return facts("update", result, "device", Json{gpu.index(), r.pciBusId, r.serial}, "degrees", r.temperature, "W",
                 Reading(r.powerWatts), "gpu %", r.gpuUtilization, "memory %", r.memoryUtilization, "used %",
                 Reading(r.memoryUsedPercent), "free KiB", Reading(r.memoryFreeKiB), "used KiB", Reading(r.memoryUsedKiB),
                 "total KiB", Reading(r.memoryTotalKiB));
}

// Of a group that was made and refreshed once.
template <class Group, class Failure>
Json gpusOf()
try
{
    Json list = Json::array();
    for (const Group group; const auto& gpu : group.gpus())
        list.push_back(describe(*gpu));
    return list;
}
catch (const Failure& failure)
{
    return failure.what();
}

}

Json factsOf(const std::vector<Json>& namesAndValues)
{
    Json facts = Json::object();
    for (auto each = namesAndValues.begin(); each != namesAndValues.end(); each += 2)
        if (!each[1].empty() && each[1] != "" && (each[1] != 0 || each[1].is_number_float()))
            facts[each->get<std::string>()] = each[1];
    return facts;
}

Json described(const std::string& key)
try
{
    if (key.starts_with("entryPoint "))
    {
        Json numbers = Json::array();
        SMBIOS::Win32Parser parser;
        const auto note = [&numbers](const SMBIOS::Version& version, const SMBIOS::Struct* structure) {
            numbers.insert(numbers.end(), {version.major, version.minor, structure->type()});
        };
        for (std::uint8_t type = 0; type < 128; ++type)
            parser.registerHandler(type, note);
        parser.parse(Answers::read<std::vector<std::uint8_t>>(key.substr(11)));
        return numbers;
    }
    if (key == "vmType")
        return Platform::vmType();
    if (key == "vendorGpus")
        return {{"amd", gpusOf<AMDGroup, AMDException>()}, {"nvidia", gpusOf<NvidiaGroup, NvidiaException>()}};
    const SMBIOS::SmbiosInventory smbios;
    Json firmware = facts("manufacturer", smbios.manufacturer(), "model", smbios.model(), "serialNumber", smbios.serialNumber(),
                          "biosVersion", smbios.biosVersion(), "chassisType", smbios.chassisType());
    for (const MotherBoardInfo& board : smbios.baseBoards())
        firmware["boards"].push_back(device(board, "serialNumber", board.serialNumber));
    for (const CpuInfo& cpu : smbios.processors())
        firmware["processors"].push_back(device(cpu, "maxClockSpeed", cpu.maxClockSpeed, "cores", cpu.cores, "socketDesignation",
                                                cpu.socketDesignation, "processorID", cpu.processorID));
    for (const RamInfo& ram : smbios.memoryModules())
        firmware["modules"].push_back(device(ram, "serialNumber", ram.serialNumber, "capacity", ram.capacity, "deviceLocator",
                                             ram.deviceLocator));
    return firmware;
}
catch (const ErrorHandling::Exception& error)
{
    return ZelStdCore::toUtf8(error.function() + L" in " + error.file() + L": " + error.message());
}
catch (const std::exception& error)
{
    return error.what();
}

int hypervisorOf(const Json& row)
{
    const auto text = [&row](const char* name) { return row.value(name, ""); };
    using Texts = std::vector<std::string>;
    const VmDetect::FirmwareFacts firmware(text("bios"), text("biosVersion"), text("manufacturer"), text("product"),
                                           text("version"), text("boardManufacturer"), text("board"),
                                           Texts{"Not Specified", text("assetTag")}, Texts{"Default string", text("oem")},
                                           row.value("mark", false));
    const VmDetect::HypervisorFacts hypervisor{row.contains("signature"), text("signature"), text("second"),
                                               row.value("root", false)};
    return static_cast<int>(VmDetect::hypervisorType({hypervisor, firmware, {text("registry")}}));
}
