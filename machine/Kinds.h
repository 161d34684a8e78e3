#pragma once

#include <hw_inventory_interface.h>

#include <string_view>

// The eight documents by the names that the programs' command lines have for them.
struct Kind
{
    std::string_view name;
    ExportStatus (*find)(char** buffer, std::size_t* size);
};

constexpr Kind kKinds[] = {{"cpus", hardware_inventory_find_cpus},
                           {"gpus", hardware_inventory_find_gpus},
                           {"ram", hardware_inventory_find_ram},
                           {"disks", hardware_inventory_find_disks},
                           {"network-adapters", hardware_inventory_find_network_adapters},
                           {"base-boards", hardware_inventory_find_base_boards},
                           {"system", hardware_inventory_find_system},
                           {"hotfixes", hardware_inventory_find_hotfixes}};

// A logger that prints to standard error.
void printLogLine(uint32_t level, const char* message);

// Prints the document to standard output, or the failure to standard error.
ExportStatus print(const Kind& kind, bool pretty);
