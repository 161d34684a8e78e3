#pragma once

#include "hw-inventory-impl/lib/SMBIOS/Structure.h"

#include <functional>
#include <unordered_map>

namespace HardwareInventory::SMBIOS
{
using StructureHandler = std::function<void(const Version&, const Struct*)>;

// Walks a structure table and calls the handler of each structure's type. Used once: register the handlers, then call read() or
// parse(). Handlers run within it, in table order, and what they throw passes through.
class AbstractParser
{
public:
    AbstractParser() = default;
    AbstractParser(const AbstractParser&) = delete;
    AbstractParser& operator=(const AbstractParser&) = delete;
    virtual ~AbstractParser() = default;

    // Takes the table from the parser's own source and walks it.
    virtual void read() = 0;

    // Locates the structure table of an entry point and walks it. The entry point has its anchor and a right sum, but may be too
    // short for its fields.
    virtual void handleEntryPoint32(std::span<const std::uint8_t> entryPoint) = 0;
    virtual void handleEntryPoint64(std::span<const std::uint8_t> entryPoint) = 0;

    // Replaces an earlier handler of the type, with a warning.
    void registerHandler(std::uint8_t type, StructureHandler handler);

    // Takes an entry point: checks its sum, sets the version and dispatches to the 32- or 64-bit handler. Throws
    // ErrorHandling::Exception with smbiosMagic for bytes that are no entry point, and with smbiosChecksum for one that is damaged
    // or shorter than its own length.
    void parse(std::span<const std::uint8_t> entryPoint);

    // Dispatches every structure from the first one to the end-of-table structure, or to the one that stands for it behind a
    // table without.
    void walk(Struct structure) const;
    void dispatch(const Struct& structure) const;

protected:
    void setVersion(Version version) { version_ = version; }

private:
    Version version_;
    std::unordered_map<std::uint8_t, StructureHandler> handlers_;
};
}
