#include "hw-inventory-impl/lib/SMBIOS/SmbiosInventory.h"

#include "hw-inventory-impl/lib/BuiltOnce.h"
#include "hw-inventory-impl/lib/SMBIOS/StructureDecoders.h"
#include "hw-inventory-impl/lib/SMBIOS/Win32Parser.h"

#include <utility>

namespace HardwareInventory::SMBIOS
{
namespace
{
template <class Record>
void store(std::vector<Record>& records, std::optional<Record> record)
{
    if (record)
        records.push_back(std::move(*record));
}

template <class Value>
void store(Value& value, std::optional<Value> latest)
{
    if (latest)
        value = std::move(*latest);
}

template <class Decoder, class Result>
void keep(AbstractParser& parser, std::uint8_t type, Decoder decode, Result& result)
{
    parser.registerHandler(type, [decode, &result](const Version& version, const Struct* structure)
                           { store(result, decode(version, *structure)); });
}
}

const SmbiosInventory& SmbiosInventory::instance()
{
    static constinit BuiltOnce<const SmbiosInventory> inventory;
    return inventory.get([] { return std::make_unique<const SmbiosInventory>(); });
}

SmbiosInventory::SmbiosInventory()
{
    if (!Win32Parser::isAvailable())
        return;
    parser_ = std::make_shared<Win32Parser>();
    keep(*parser_, StructureType::baseBoard, decodeBaseBoard, baseBoards_);
    keep(*parser_, StructureType::processor, decodeProcessor, processors_);
    keep(*parser_, StructureType::memoryDevice, decodeMemoryDevice, memoryModules_);
    keep(*parser_, StructureType::system, decodeSystem, system_);
    keep(*parser_, StructureType::bios, decodeBios, biosVersion_);
    keep(*parser_, StructureType::systemChassis, decodeChassis, chassisType_);
    parser_->read();
}
}
