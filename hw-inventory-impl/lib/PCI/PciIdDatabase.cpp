#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"

#include "hw-inventory-impl/lib/PCI/BuiltInList.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/MemoryMappedFile.h"
#include "st-core/lib/Utf8.h"

#include <memory>
#include <utility>

using ZelStdCore::logWarning;

namespace HardwareInventory
{
namespace
{
// A name ends at the line feed. All but a few are plain ASCII, which needs no decoding.
std::wstring nameAt(const char* name)
{
    const char* end = name;
    unsigned char joined = 0;
    for (; *end != '\n'; ++end)
        joined |= static_cast<unsigned char>(*end);
    return joined < 0x80 ? std::wstring(name, end) : ZelStdCore::widen({name, end});
}

std::unique_ptr<PciIdDatabase> readBuiltInList()
{
    const auto text = builtInPciIdList();
    auto database = std::make_unique<PciIdDatabase>();
    database->parse(text.data(), text.size());
    return database;
}
}

PciIdDatabase& PciIdDatabase::instance()
{
    // The pointer is set after the list is read: reading can log, and the host's callback can call this function again. The inner
    // call's database is deleted; nothing uses it any more.
    static constinit PciIdDatabase* database = nullptr;
    if (!database)
        delete std::exchange(database, readBuiltInList().release());
    return *database;
}

PciIdDatabase::PciIdDatabase(const std::wstring& path)
{
    ZelStdCore::MemoryMappedFile file;
    file.open(path);
    ownedText_.assign(file.data(), static_cast<std::size_t>(file.size()));
    file.close();
    parse(ownedText_.data(), ownedText_.size());
}

void PciIdDatabase::parse(const char* text, std::size_t length)
{
    parsePciIdList({text, length}, tables_);
}

std::wstring PciIdDatabase::vendorName(std::uint16_t vendor) const
{
    if (const char* const name = tables_.vendors.find(vendor))
        return nameAt(name);
    logWarning(L"failed to lookup vendor %04X", vendor);
    return {};
}

std::wstring PciIdDatabase::modelName(std::uint16_t vendor, std::uint16_t device) const
{
    if (const char* const name = tables_.models.find(joinPciIds(vendor, device)))
        return nameAt(name);
    logWarning(L"failed to lookup model (%04X:%04X)", vendor, device);
    return {};
}

std::wstring PciIdDatabase::subsystemModelName(std::uint16_t vendor, std::uint16_t device, std::uint16_t subsystemVendor,
                                               std::uint16_t subsystemDevice) const
{
    if (const char* const name = tables_.subsystems.find(joinPciIds(vendor, device, subsystemVendor, subsystemDevice)))
        return nameAt(name);
    logWarning(L"failed to lookup model (%04X:%04X:%04X:%04X), fallback to (%04X:%04X)", vendor, device, subsystemVendor,
               subsystemDevice, vendor, device);
    return modelName(vendor, device);
}

std::vector<std::wstring> PciIdDatabase::vendorNames() const
{
    std::vector<std::wstring> names;
    names.reserve(tables_.vendors.entries().size());
    for (const auto& vendor : tables_.vendors.entries())
        names.push_back(nameAt(vendor.name));
    return names;
}
}
