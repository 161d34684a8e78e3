#include "cli/collect/LibraryFile.h"

#include "cli/Paths.h"
#include "cli/System.h"
#include "st-core/lib/ModuleVersionWin.h"

namespace HardwareInventory
{
std::filesystem::path libraryBesideProgram()
{
    return programFile().parent_path() / "hw_inventory_interface.dll";
}

LibraryVersions versionsOf(const std::filesystem::path& library)
{
    const auto text = [&](const wchar_t* name) { return utf8(ZelStdCore::moduleText(library.c_str(), name)); };
    return {text(L"FileVersion"), text(L"PciIdList")};
}
}
