#pragma once

#include <filesystem>
#include <string>

namespace HardwareInventory
{
// The library in the folder of this program; empty where there is none for this system.
std::filesystem::path libraryBesideProgram();

// What the version resource of a library's file says; empty where it says nothing.
struct LibraryVersions
{
    std::string library;
    std::string pciIdList;
};
LibraryVersions versionsOf(const std::filesystem::path& library);
}
