#include "cli/collect/LibraryFile.h"

namespace HardwareInventory
{
std::filesystem::path libraryBesideProgram()
{
    return {};
}

LibraryVersions versionsOf(const std::filesystem::path&)
{
    return {};
}
}
