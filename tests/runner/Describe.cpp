#include "hw-inventory-impl/lib/DeviceStatus.h"
#include "hw-inventory-impl/lib/GPU/AMDGroup.h"
#include "hw-inventory-impl/lib/GPU/GPUException.h"
#include "hw-inventory-impl/lib/GPU/NvidiaGroup.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/SMBIOS/SmbiosInventory.h"
#include "hw-inventory-impl/lib/SMBIOS/Win32Parser.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "machine/Answers.h"
#include "st-core/lib/Utf8.h"
#include "tests/runner/Replay.h"
#include "vm-detect/HostFacts.h"
#include "vm-detect/Rules.h"

using namespace HardwareInventory;

namespace
{
template <class Record, class... More>
Json device(const Record& record, const More&... more)
{
    return facts("name", record.name, "manufacturer", record.manufacturer, "model", record.model, "status",
                 std::wstring(statusText(record.status)), "place", record.deviceID + record.pciAddress, more...);
}

Json describe(const MotherBoardInfo& board)
{
    return device(board, "serialNumber", board.serialNumber);
}

Json describe(const CpuInfo& cpu)
{
    return device(cpu, "maxClockSpeed", cpu.maxClockSpeed, "cores", cpu.cores, "socketDesignation", cpu.socketDesignation,
                  "processorID", cpu.processorID);
}

Json describe(const RamInfo& ram)
{
    return device(ram, "serialNumber", ram.serialNumber, "capacity", ram.capacity, "deviceLocator", ram.deviceLocator);
}

Json describe(const AMDGPU& gpu)
{
    const AMDReadings& r = gpu.readings();
    const Json adapter = {gpu.adapterIndex(), gpu.pciAddress(), gpu.name(), gpu.overdriveVersion()};
    return facts("adapter", adapter, "edge", r.edgeTemperature, "memory", r.memoryTemperature, "vddc", r.vddcRegulatorTemperature,
                 "mvdd", r.mvddRegulatorTemperature, "mvdd0", r.mvdd0RegulatorTemperature, "mvdd1", r.mvdd1RegulatorTemperature,
                 "liquid", r.liquidTemperature, "plx", r.plxTemperature, "hot spot", r.hotSpotTemperature, "soc",
                 r.socRegulatorTemperature, "graphics W", r.graphicsPower, "ppt W", r.pptPower, "socket W", r.socketPower, "asic W",
                 r.asicPower, "soc W", r.socPower, "graphics V", r.graphicsVoltage, "memory V", r.memoryVoltage, "soc V",
                 r.socVoltage, "graphics %", r.graphicsActivity, "memory %", r.memoryActivity);
}

Json describe(const NvidiaGPU& gpu)
{
    const NvidiaReadings& r = gpu.readings();
    return facts("device", Json{gpu.index(), r.pciBusId, r.serial}, "degrees", r.temperature, "W", Reading(r.powerWatts), "gpu %",
                 r.gpuUtilization, "memory %", r.memoryUtilization, "used %", Reading(r.memoryUsedPercent), "free KiB",
                 Reading(r.memoryFreeKiB), "used KiB", Reading(r.memoryUsedKiB), "total KiB", Reading(r.memoryTotalKiB));
}

template <class Record>
Json listOf(const std::vector<Record>& records)
{
    Json list = Json::array();
    for (const Record& record : records)
        list.push_back(describe(record));
    return list;
}

// Of a group that was made and refreshed once.
template <class Group, class Failure>
Json listOf()
try
{
    const Group group;
    Json list = Json::array();
    for (const auto& gpu : group.gpus())
    {
        const int result = gpu->update();
        list.push_back(describe(*gpu));
        list.back().update(facts("update", result));
    }
    return list;
}
catch (const Failure& failure)
{
    return failure.what();
}

constexpr std::string_view kEntryPoint = "entryPoint ";

// The types of the structures that an entry point leads to, behind its version, or where and why it fails.
Json walked(const std::vector<std::uint8_t>& entryPoint)
try
{
    Json numbers = Json::array();
    SMBIOS::Win32Parser parser;
    for (int type = 0; type < 128; ++type)
        parser.registerHandler(static_cast<std::uint8_t>(type),
                               [&numbers](const SMBIOS::Version& version, const SMBIOS::Struct* structure) {
                                   numbers.insert(numbers.end(), {version.major, version.minor, structure->type()});
                               });
    parser.parse(entryPoint);
    return numbers;
}
catch (const ErrorHandling::Exception& error)
{
    return ZelStdCore::toUtf8(error.function() + L" in " + error.file() + L": " + error.message());
}
}

Json described(const std::string& key)
try
{
    if (key.starts_with(kEntryPoint))
        return walked(Answers::read<std::vector<std::uint8_t>>(key.substr(kEntryPoint.size())));
    if (key == "vmType")
        return Platform::vmType();
    if (key == "vendorGpus")
        return {{"amd", listOf<AMDGroup, AMDException>()}, {"nvidia", listOf<NvidiaGroup, NvidiaException>()}};
    const SMBIOS::SmbiosInventory smbios;
    return facts("boards", listOf(smbios.baseBoards()), "processors", listOf(smbios.processors()), "modules",
                 listOf(smbios.memoryModules()), "manufacturer", smbios.manufacturer(), "model", smbios.model(), "serialNumber",
                 smbios.serialNumber(), "biosVersion", smbios.biosVersion(), "chassisType", smbios.chassisType());
}
catch (const std::exception& error)
{
    return error.what();
}

int hypervisorOf(const Json& row)
{
    VmDetect::HostFacts facts;
    const auto text = [&row](const char* name) { return row.value(name, ""); };
    facts.firmware = {text("bios"),
                      text("biosVersion"),
                      text("manufacturer"),
                      text("product"),
                      text("version"),
                      text("boardManufacturer"),
                      text("board"),
                      {"Not Specified", text("assetTag")},
                      {"Default string", text("oem")},
                      row.value("mark", false)};
    facts.registryBiosVersions = {text("registry")};
    facts.hypervisor = {row.contains("signature"), text("signature"), text("second"), row.value("root", false)};
    return static_cast<int>(VmDetect::hypervisorType(facts));
}
