#pragma once

#include "machine/Recording.h"
#include "st-core/lib/Utf8.h"

#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

// A machine replayed in this process: from its first collection on, as a host's first call finds it.
struct Replayed
{
    HardwareInventory::Json documents; // of all kinds in one object
    HardwareInventory::Json statuses;  // by kind, those that are not 0
    std::vector<std::string> log;      // "level text", addresses as @, without those of vendors, which fuzz/VendorQuery compares
};

// Makes it the process's machine.
void setMachine(const HardwareInventory::Json& recording);

// All eight documents of the machine, or one; then what no document shows, by the keys of described().
Replayed collect(std::string_view kind = {}, const std::vector<std::string>& keys = {});

// How often the machine has been asked so far.
std::size_t timesAsked(const std::string& question);

// "firmware": every decoded fact, "vendorGpus": every reading of the vendors' libraries, both without what is empty; "vmType";
// "entryPoint BYTES": where the SMBIOS entry point leads.
HardwareInventory::Json described(const std::string& key);

// The type by vm-detect's rules of a host with these facts.
int hypervisorOf(const HardwareInventory::Json& facts);

// Names and values, without what is empty, 0 or absent. A reading has six digits, and 0 is one.
template <class Value, class... More>
HardwareInventory::Json facts(const char* name, const Value& value, const More&... more)
{
    HardwareInventory::Json json;
    if constexpr (std::is_same_v<Value, std::wstring>)
        json = ZelStdCore::toUtf8(value);
    else if constexpr (std::is_same_v<Value, std::optional<float>>)
        json = value ? HardwareInventory::Json::parse((std::ostringstream() << *value).str()) : json;
    else
        json = value;
    HardwareInventory::Json all = HardwareInventory::Json::object();
    if (!json.is_null() && json != "" && json != HardwareInventory::Json::array() &&
        (json != 0 || std::is_same_v<Value, std::optional<float>>))
        all[name] = json;
    if constexpr (sizeof...(more) != 0)
        all.update(facts(more...));
    return all;
}
