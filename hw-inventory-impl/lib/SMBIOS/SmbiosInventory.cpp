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
void assign(std::vector<Record>& records, std::optional<Record> record)
{
    if (record)
        records.push_back(std::move(*record));
}

template <class Value>
void assign(Value& value, std::optional<Value> latest)
{
    if (latest)
        value = std::move(*latest);
}

template <class Decoder, class Result>
void registerDecoder(AbstractParser& parser, std::uint8_t type, Decoder decode, Result& result)
{
    parser.registerHandler(type, [decode, &result](const Version& version, const Struct* structure)
                           { assign(result, decode(version, *structure)); });
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
    registerDecoder(*parser_, StructureType::baseBoard, decodeBaseBoard, baseBoards_);
    registerDecoder(*parser_, StructureType::processor, decodeProcessor, processors_);
    registerDecoder(*parser_, StructureType::memoryDevice, decodeMemoryDevice, memoryModules_);
    registerDecoder(*parser_, StructureType::system, decodeSystem, system_);
    registerDecoder(*parser_, StructureType::bios, decodeBios, biosVersion_);
    registerDecoder(*parser_, StructureType::systemChassis, decodeChassis, chassisType_);
    parser_->read();
}
}
