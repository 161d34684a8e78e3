#include "machine/VendorCalls.h"

#include "hw-inventory-impl/lib/GPU/Adl.h"
#include "hw-inventory-impl/lib/GPU/Nvml.h"
#include "machine/Answers.h"
#include "st-core/lib/Utf8.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
#include <type_traits>

namespace HardwareInventory
{
namespace
{
// What a library reports for a call that was not recorded: unknown error.
constexpr int kNotRecorded = 999;

// A process can do both: it records what it replays.
Recording* recordedInto = nullptr;
Recording* replayedFrom = nullptr;

// Handles are written as numbers, in the order in which the library gave them. 0 is null.
std::vector<const void*> handles;

std::size_t numberOf(const void* handle)
{
    if (!handle)
        return 0;
    const auto found = std::ranges::find(handles, handle);
    const auto index = static_cast<std::size_t>(found - handles.begin());
    if (found == handles.end())
        handles.push_back(handle);
    return index + 1;
}

template <class Record, class Value>
struct Field
{
    const char* name;
    Value Record::*value;
};
template <class Record, class Value>
Field(const char*, Value Record::*) -> Field<Record, Value>;

// The fields of a record that are read.
template <class Record>
constexpr std::tuple<> kFields;
template <>
constexpr std::tuple kFields<Nvml::Utilization>{Field{"gpu", &Nvml::Utilization::gpu}, Field{"memory", &Nvml::Utilization::memory}};
template <>
constexpr std::tuple kFields<Nvml::Memory>{Field{"total", &Nvml::Memory::total}, Field{"free", &Nvml::Memory::free},
                                           Field{"used", &Nvml::Memory::used}};
template <>
constexpr std::tuple kFields<Nvml::PciInfo>{Field{"busId", &Nvml::PciInfo::busIdLegacy}};
template <>
constexpr std::tuple kFields<Adl::AdapterInfo>{
    Field{"index", &Adl::AdapterInfo::iAdapterIndex},  Field{"bus", &Adl::AdapterInfo::iBusNumber},
    Field{"device", &Adl::AdapterInfo::iDeviceNumber}, Field{"function", &Adl::AdapterInfo::iFunctionNumber},
    Field{"vendor", &Adl::AdapterInfo::iVendorID},     Field{"name", &Adl::AdapterInfo::strAdapterName}};
template <>
constexpr std::tuple kFields<Adl::PMActivity>{Field{"vddc", &Adl::PMActivity::iVddc},
                                              Field{"activity", &Adl::PMActivity::iActivityPercent}};
template <>
constexpr std::tuple kFields<Adl::Temperature>{Field{"temperature", &Adl::Temperature::iTemperature}};

template <class Record>
constexpr bool kIsRecord = std::tuple_size_v<std::remove_cvref_t<decltype(kFields<Record>)>> != 0;

Json textOf(const char* text, std::size_t size)
{
    return ZelStdCore::toUtf8(ZelStdCore::widen(std::string(text, std::find(text, text + size, '\0'))));
}

// Cut to the field, which it may fill without a terminator.
void giveText(const Json& json, char* text, std::size_t size)
{
    std::strncpy(text, json.get_ref<const std::string&>().c_str(), size);
}

template <class Number>
    requires std::is_arithmetic_v<Number>
Json write(Number number)
{
    return number;
}

template <std::size_t Size>
Json write(const char (&text)[Size])
{
    return textOf(text, Size);
}

template <class Number>
    requires std::is_arithmetic_v<Number>
void give(const Json& json, Number& number)
{
    number = Answers::read<Number>(json);
}

template <std::size_t Size>
void give(const Json& json, char (&text)[Size])
{
    giveText(json, text, Size);
}

Json write(const void* handle)
{
    return numberOf(handle);
}

void give(const Json& json, void*& handle)
{
    // Any pointer will do that numberOf() gives this number.
    const auto number = Answers::read<std::uint16_t>(json);
    while (handles.size() < number)
        handles.push_back(reinterpret_cast<const void*>(handles.size() + 1)); // NOLINT(performance-no-int-to-ptr)
    handle = number == 0 ? nullptr : const_cast<void*>(handles[number - 1u]);
}

template <class Record>
    requires kIsRecord<Record>
Json write(const Record& record)
{
    Json json;
    std::apply([&](const auto&... field) { ((json[field.name] = write(record.*field.value)), ...); }, kFields<Record>);
    return json;
}

template <class Record>
    requires kIsRecord<Record>
void give(const Json& json, Record& record)
{
    std::apply([&](const auto&... field) { (give(json.at(field.name), record.*field.value), ...); }, kFields<Record>);
}

// The sensors that are supported, by number.
Json write(const Adl::PMLogDataOutput& log)
{
    Json json = Json::object();
    for (std::size_t number = 0; number < Adl::kSensors; ++number)
        if (log.sensors[number].supported)
            json[std::to_string(number)] = log.sensors[number].value;
    return json;
}

void give(const Json& json, Adl::PMLogDataOutput& log)
{
    for (std::size_t number = 0; number < Adl::kSensors; ++number)
    {
        const auto found = json.find(std::to_string(number));
        log.sensors[number].supported = found != json.end();
        log.sensors[number].value = found != json.end() ? Answers::read<int>(*found) : 0;
    }
}

// The arguments that are part of the question: numbers and handles, and the size that a record's caller fills in.
std::string argument(std::integral auto number)
{
    return " " + std::to_string(number);
}
std::string argument(void* handle)
{
    return argument(numberOf(handle));
}
std::string argument(Adl::PMLogDataOutput* log)
{
    return argument(log->size);
}
std::string argument(Adl::PMActivity* activity)
{
    return argument(activity->iSize);
}
std::string argument(Adl::Temperature* temperature)
{
    return argument(temperature->iSize);
}
template <class Output>
std::string argument(Output*)
{
    return {};
}

// What the function wrote through its pointers. Numbers and handles that were passed, and callbacks, are no outputs.
template <class Passed>
void appendOutput(Json& answer, Passed passed)
{
    using Output = std::remove_pointer_t<Passed>;
    if constexpr (std::is_pointer_v<Passed> && !std::is_void_v<Output> && !std::is_function_v<Output>)
        answer.push_back(write(*passed));
}
template <class... Arguments>
void appendOutputs(Json& answer, Arguments... arguments)
{
    (appendOutput(answer, arguments), ...);
}
void appendOutputs(Json& answer, Nvml::Device, char* serial, std::uint32_t size)
{
    answer.push_back(textOf(serial, size));
}
void appendOutputs(Json& answer, Adl::AdapterInfo* adapters, int bytes)
{
    for (std::size_t index = 0; index < static_cast<std::size_t>(bytes) / sizeof *adapters; ++index)
        answer.push_back(write(adapters[index]));
}

template <class Passed>
void giveOutput(const Json& answer, std::size_t& index, Passed passed)
{
    using Output = std::remove_pointer_t<Passed>;
    if constexpr (std::is_pointer_v<Passed> && !std::is_void_v<Output> && !std::is_function_v<Output>)
        give(answer.at(index++), *passed);
}
template <class... Arguments>
void giveOutputs(const Json& answer, Arguments... arguments)
{
    [[maybe_unused]] std::size_t index = 1; // NOLINT(misc-const-correctness): not every function has outputs
    (giveOutput(answer, index, arguments), ...);
}
void giveOutputs(const Json& answer, Nvml::Device, char* serial, std::uint32_t size)
{
    giveText(answer.at(1), serial, size);
}
void giveOutputs(const Json& answer, Adl::AdapterInfo* adapters, int bytes)
{
    const std::size_t count = std::min(static_cast<std::size_t>(bytes) / sizeof *adapters, answer.size() - 1);
    for (std::size_t index = 0; index < count; ++index)
        give(answer[index + 1], adapters[index]);
}

// The names of functions as template arguments.
template <std::size_t Size>
struct Name
{
    char text[Size];
    constexpr Name(const char (&name)[Size]) { std::copy_n(name, Size, text); }
};

template <Name name, class Function>
struct Call;

template <Name name, class Returned, class... Arguments>
struct Call<name, Returned (*)(Arguments...)>
{
    static inline Returned (*real)(Arguments...) = nullptr;

    static std::string question(Arguments... arguments)
    {
        return std::string("call ") + name.text + (std::string() + ... + argument(arguments));
    }

    static Returned record(Arguments... arguments)
    {
        const std::string asked = question(arguments...);
        const Returned returned = real(arguments...);
        Json answer = Json::array();
        if constexpr (std::is_pointer_v<Returned>)
            answer.push_back(returned ? Json(returned) : Json());
        else
            answer.push_back(returned);
        appendOutputs(answer, arguments...);
        recordedInto->add(asked, std::move(answer));
        return returned;
    }

    // A call that was not recorded, or not with these outputs, fails as the library does.
    static Returned replay(Arguments... arguments)
    {
        const Json* const answer = replayedFrom->next(question(arguments...));
        if constexpr (std::is_pointer_v<Returned>)
            return answer && answer->at(0).is_string() ? answer->at(0).get_ref<const std::string&>().c_str() : nullptr;
        else
            try
            {
                if (!answer)
                    return kNotRecorded;
                const auto returned = Answers::read<Returned>(answer->at(0));
                giveOutputs(*answer, arguments...);
                return returned;
            }
            catch (const std::exception&)
            {
                return kNotRecorded;
            }
    }
};

struct VendorFunction
{
    std::string_view name;
    void* record;
    void* replay;
    void (*setReal)(void* real);
};

template <Name name, class Function>
VendorFunction row(Function)
{
    using Thunk = Call<name, Function>;
    return {name.text, reinterpret_cast<void*>(&Thunk::record), reinterpret_cast<void*>(&Thunk::replay),
            [](void* real) { Thunk::real = reinterpret_cast<Function>(real); }};
}

const VendorFunction* find(std::string_view name)
{
    constexpr Nvml::Functions nvml{};
    constexpr Adl::Functions adl{};
    static const VendorFunction functions[] = {
        row<"nvmlInit">(nvml.nvmlInit),
        row<"nvmlShutdown">(nvml.nvmlShutdown),
        row<"nvmlErrorString">(nvml.nvmlErrorString),
        row<"nvmlDeviceGetCount">(nvml.nvmlDeviceGetCount),
        row<"nvmlDeviceGetHandleByIndex">(nvml.nvmlDeviceGetHandleByIndex),
        row<"nvmlDeviceGetTemperature">(nvml.nvmlDeviceGetTemperature),
        row<"nvmlDeviceGetUtilizationRates">(nvml.nvmlDeviceGetUtilizationRates),
        row<"nvmlDeviceGetMemoryInfo">(nvml.nvmlDeviceGetMemoryInfo),
        row<"nvmlDeviceGetPowerUsage">(nvml.nvmlDeviceGetPowerUsage),
        row<"nvmlDeviceGetPciInfo_v3">(nvml.nvmlDeviceGetPciInfo_v3),
        row<"nvmlDeviceGetSerial">(nvml.nvmlDeviceGetSerial),
        row<"ADL_Main_Control_Create">(adl.ADL_Main_Control_Create),
        row<"ADL2_Main_Control_Create">(adl.ADL2_Main_Control_Create),
        row<"ADL_Adapter_NumberOfAdapters_Get">(adl.ADL_Adapter_NumberOfAdapters_Get),
        row<"ADL_Adapter_AdapterInfo_Get">(adl.ADL_Adapter_AdapterInfo_Get),
        row<"ADL_Adapter_Active_Get">(adl.ADL_Adapter_Active_Get),
        row<"ADL_Overdrive_Caps">(adl.ADL_Overdrive_Caps),
        row<"ADL2_New_QueryPMLogData_Get">(adl.ADL2_New_QueryPMLogData_Get),
        row<"ADL2_Overdrive6_CurrentPower_Get">(adl.ADL2_Overdrive6_CurrentPower_Get),
        row<"ADL2_OverdriveN_Temperature_Get">(adl.ADL2_OverdriveN_Temperature_Get),
        row<"ADL_Overdrive5_Temperature_Get">(adl.ADL_Overdrive5_Temperature_Get),
        row<"ADL_Overdrive5_CurrentActivity_Get">(adl.ADL_Overdrive5_CurrentActivity_Get),
        row<"ADL2_Main_Control_Destroy">(Adl::DestroyContext()),
        row<"ADL_Main_Control_Destroy">(Adl::Destroy()),
    };
    const auto* const found = std::ranges::find(functions, name, &VendorFunction::name);
    return found != std::end(functions) ? found : nullptr;
}
}

void* VendorCalls::replay(Recording& recording, std::string_view name)
{
    replayedFrom = &recording;
    const VendorFunction* const function = find(name);
    return function ? function->replay : nullptr;
}

void* VendorCalls::record(Recording& recording, std::string_view name, void* real)
{
    recordedInto = &recording;
    const VendorFunction* const function = find(name);
    if (!function)
        return real;
    function->setReal(real);
    return function->record;
}

void checkVendorCall(const Json& answer)
{
    if (!answer.is_array() || answer.empty())
        Answers::refuse("a call's result and outputs");
}
}
