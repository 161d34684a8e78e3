#include "hw-inventory-impl/lib/SMBIOS/Win32Parser.h"

#include "hw-inventory-impl/lib/Platform/Platform.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace HardwareInventory::SMBIOS
{
namespace
{
constexpr std::uint32_t kSmbiosProvider = 0x52534D42;      // 'RSMB'
constexpr std::uint32_t kRawFirmwareProvider = 0x4649524D; // 'FIRM'

// The raw firmware provider's tables: ranges of this size, each named by its address.
constexpr std::uint32_t kMemoryRangeSize = 0x20000;
}

bool Win32Parser::isAvailable()
{
    return Platform::enumerateFirmwareTables(kSmbiosProvider) != 0;
}

void Win32Parser::read()
{
    if (!isAvailable())
        throw std::runtime_error("SMBIOS table is unavailable");
    fill(kSmbiosProvider, 0);
    if (buffer_.size() < ZelStdCore::kRawSmbiosHeaderSize)
        throw std::runtime_error("failed to read SMBIOS table");
    setVersion({buffer_[1], buffer_[2]});
    walk(Struct(std::span(buffer_).subspan(ZelStdCore::kRawSmbiosHeaderSize)));
}

void Win32Parser::handleEntryPoint32(std::span<const std::uint8_t> entryPoint)
{
    walkPhysicalMemory(numberAt<std::uint32_t>(entryPoint, 0x18), numberAt<std::uint16_t>(entryPoint, 0x16));
}

void Win32Parser::handleEntryPoint64(std::span<const std::uint8_t> entryPoint)
{
    walkPhysicalMemory(numberAt<std::uint64_t>(entryPoint, 0x10), numberAt<std::uint32_t>(entryPoint, 0x0C));
}

void Win32Parser::fill(std::uint32_t provider, std::uint32_t table)
{
    auto bytes = Platform::firmwareTable(provider, table);
    if (!bytes)
        throw std::runtime_error(bytes.error() == Platform::FirmwareStep::size ? "failed to get SMBIOS table size"
                                                                               : "failed to read SMBIOS table");
    buffer_ = std::move(bytes).value();
}

void Win32Parser::walkPhysicalMemory(std::optional<std::uint64_t> address, std::optional<std::uint32_t> length)
{
    if (!address || !length)
        throw std::runtime_error("failed to read SMBIOS table");
    const std::uint64_t range = *address - *address % kMemoryRangeSize;
    if (range > std::numeric_limits<std::uint32_t>::max())
        throw std::runtime_error("failed to read SMBIOS table");
    fill(kRawFirmwareProvider, static_cast<std::uint32_t>(range));
    const auto begin = static_cast<std::size_t>(*address - range);
    if (begin >= buffer_.size())
        throw std::runtime_error("failed to read SMBIOS table");
    walk(Struct(std::span(buffer_).subspan(begin, std::min<std::size_t>(*length, buffer_.size() - begin))));
}
}
