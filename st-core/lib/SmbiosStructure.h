#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace ZelStdCore
{
// In front of the structures in what GetSystemFirmwareTable('RSMB') returns: calling method, major and minor version, DMI
// revision, length of the structures (32 bits).
constexpr std::size_t kRawSmbiosHeaderSize = 8;

// The structures that a caller decodes, and the one that ends a table.
struct SmbiosType
{
    enum : std::uint8_t
    {
        bios = 0,
        system = 1,
        baseBoard = 2,
        systemChassis = 3,
        processor = 4,
        oemStrings = 11,
        memoryDevice = 17,
        endOfTable = 127
    };
};

// The number at an offset of the firmware's bytes, which are little-endian; unset where it does not lie within them whole.
template <class Number>
std::optional<Number> numberAt(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    static_assert(std::endian::native == std::endian::little);
    if (offset > bytes.size() || sizeof(Number) > bytes.size() - offset)
        return std::nullopt;
    Number number;
    std::memcpy(&number, bytes.data() + offset, sizeof number);
    return number;
}

// What becomes of a string that the table's end cuts off.
enum class CutString
{
    keep,
    drop
};

// A view of one structure of an SMBIOS table: header, formatted area and the strings behind it. Type and length read as 127
// behind the table's end, so that a walk ends there whatever the bytes are.
class SmbiosStructure
{
public:
    // The bytes from the structure's header to the table's end.
    explicit SmbiosStructure(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::span<const std::uint8_t> bytes() const { return bytes_; }

    std::uint8_t type() const { return numberAt<std::uint8_t>(bytes_, 0).value_or(SmbiosType::endOfTable); }
    // Of the formatted area, header included.
    std::uint8_t length() const { return numberAt<std::uint8_t>(bytes_, 1).value_or(SmbiosType::endOfTable); }
    std::uint16_t handle() const { return field<std::uint16_t>(2).value_or(0); }

    // Whether the formatted area has room for the header and lies within the table.
    bool isWhole() const;

    // The table's byte at an offset as it stands, be it part of the formatted area or not; 0 behind the table's end.
    std::uint8_t byteAt(std::size_t offset) const { return numberAt<std::uint8_t>(bytes_, offset).value_or(0); }

    // Unset where the formatted area ends before the field does.
    template <class Number>
    std::optional<Number> field(std::size_t offset) const
    {
        return numberAt<Number>(bytes_.first(formattedSize()), offset);
    }

    // In the table's own coding; the first string has number 1.
    std::vector<std::string_view> strings(CutString cutString) const;

    // The structure behind this one; of type 127 where the table ends.
    SmbiosStructure next() const;

private:
    std::size_t formattedSize() const; // as much of the formatted area as there is

    std::span<const std::uint8_t> bytes_;
};
}
