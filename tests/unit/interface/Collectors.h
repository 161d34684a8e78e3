#pragma once

#include "hw-inventory-interface/include/hw_inventory_interface.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/fakes/FakeManagementSource.h"
#include "tests/unit/service/MemoryTable.h"

#include <memory>
#include <string>

// The eight collecting functions as a host calls them.
struct Collector
{
    const char* name;
    ExportStatus (*find)(char** buffer, size_t* size);
};

constexpr Collector kCollectors[] = {{"cpus", hardware_inventory_find_cpus},
                                     {"gpus", hardware_inventory_find_gpus},
                                     {"ram", hardware_inventory_find_ram},
                                     {"disks", hardware_inventory_find_disks},
                                     {"network adapters", hardware_inventory_find_network_adapters},
                                     {"base boards", hardware_inventory_find_base_boards},
                                     {"system", hardware_inventory_find_system},
                                     {"hotfixes", hardware_inventory_find_hotfixes}};

struct Collected
{
    ExportStatus status;
    std::string document;
};

inline Collected collect(const Collector& collector)
{
    char* buffer = nullptr;
    size_t size = 0;
    const ExportStatus status = collector.find(&buffer, &size);
    const std::unique_ptr<char, void (*)(void*)> owner(buffer, release_buffer);
    return {status, buffer ? std::string(buffer, size - 1) : std::string()};
}

// One device of every kind, the memory in the firmware's table.
inline void setUpWholeMachine()
{
    fakes::setUpOneOfEverything();
    fakes::machine().smbiosTable = fakes::memoryTable({{"DIMM A", 8192}});
}
