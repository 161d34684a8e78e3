#include "hw-inventory-impl/lib/SMBIOS/AbstractParser.h"

#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Utf8.h"

#include <algorithm>
#include <exception>
#include <numeric>
#include <utility>

namespace HardwareInventory::SMBIOS
{
namespace
{
using ErrorHandling::ErrorCode;
using ErrorHandling::errorText;
using ErrorHandling::Exception;

constexpr wchar_t kSourceFile[] = L"hw-inventory-impl\\lib\\SMBIOS\\AbstractParser.cpp";

struct EntryPointForm
{
    std::string_view anchor;
    std::size_t lengthOffset;  // of the number of bytes that are summed
    std::size_t versionOffset; // major, then minor
    void (AbstractParser::*handle)(std::span<const std::uint8_t> entryPoint);
};

constexpr EntryPointForm kEntryPointForms[] = {
    {"_SM3_", 0x06, 0x07, &AbstractParser::handleEntryPoint64},
    {"_SM_", 0x05, 0x06, &AbstractParser::handleEntryPoint32},
};

const EntryPointForm* formOf(std::span<const std::uint8_t> entryPoint)
{
    const auto isForm = [entryPoint](const EntryPointForm& form)
    {
        const auto [anchorEnd, _] = std::ranges::mismatch(form.anchor, entryPoint);
        return anchorEnd == form.anchor.end();
    };
    const auto* const form = std::ranges::find_if(kEntryPointForms, isForm);
    return form != std::end(kEntryPointForms) ? form : nullptr;
}

// A sum over more bytes than there are is wrong.
bool sumIsRight(std::span<const std::uint8_t> entryPoint, const EntryPointForm& form)
{
    const auto length = numberAt<std::uint8_t>(entryPoint, form.lengthOffset);
    if (!length || *length > entryPoint.size())
        return false;
    const auto summed = entryPoint.first(*length);
    return std::accumulate(summed.begin(), summed.end(), 0u) % 256 == 0;
}
}

void AbstractParser::registerHandler(std::uint8_t type, StructureHandler handler)
{
    if (handlers_.contains(type))
        ZelStdCore::logWarning(L"substitution of structure handler: %1%", structureTypeName(type));
    handlers_[type] = std::move(handler);
}

void AbstractParser::parse(std::span<const std::uint8_t> entryPoint)
{
    const EntryPointForm* const form = formOf(entryPoint);
    if (!form)
        throw Exception(ErrorCode::smbiosMagic, errorText(ErrorCode::smbiosMagic), kSourceFile,
                        L"HardwareInventory::SMBIOS::AbstractParser::parse", __LINE__);
    if (!sumIsRight(entryPoint, *form))
        throw Exception(ErrorCode::smbiosChecksum, errorText(ErrorCode::smbiosChecksum), kSourceFile,
                        L"HardwareInventory::SMBIOS::AbstractParser::parse", __LINE__);

    version_ = {numberAt<std::uint8_t>(entryPoint, form->versionOffset).value_or(0),
                numberAt<std::uint8_t>(entryPoint, form->versionOffset + 1).value_or(0)};
    (this->*form->handle)(entryPoint);
    ZelStdCore::logInfo(L"SMBIOS Version: %d.%d", version_.major, version_.minor);
}

void AbstractParser::walk(Struct structure) const
{
    // The length that a source gives for its table is no limit: structures behind it count as well.
    while (structure.type() != StructureType::endOfTable)
    {
        dispatch(structure);
        structure = structure.next();
    }
    dispatch(structure);
}

void AbstractParser::dispatch(const Struct& structure) const
{
    const std::uint8_t type = structure.type();
    const auto handler = handlers_.find(type);
    if (handler == handlers_.end())
    {
        ZelStdCore::logWarning(L"no registered '%1%' (%2%) SMBIOS structure handler", structureTypeName(type), type);
        return;
    }
    handler->second(version_, &structure);
}
}
