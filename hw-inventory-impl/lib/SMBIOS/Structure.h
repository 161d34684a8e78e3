#pragma once

#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace HardwareInventory::SMBIOS
{
struct Version
{
    std::uint8_t major = 0;
    std::uint8_t minor = 0;

    // By value, major before minor.
    friend auto operator<=>(const Version&, const Version&) = default;
};

// The types of structures that the inventory decodes, and the one that ends a table.
struct StructureType
{
    enum : std::uint8_t
    {
        bios = 0,
        system = 1,
        baseBoard = 2,
        systemChassis = 3,
        processor = 4,
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

// A view of one structure of a closed table (see closeTable): header, formatted area and the strings behind it.
class Struct
{
public:
    // The structure that starts at the given byte, and the end of the table's own bytes.
    Struct(const std::uint8_t* bytes, const std::uint8_t* tableEnd) : bytes_(bytes), tableEnd_(tableEnd) {}

    const std::uint8_t* bytes() const { return bytes_; }
    const std::uint8_t* tableEnd() const { return tableEnd_; }

    std::uint8_t type() const { return bytes_[0]; }
    std::uint8_t length() const { return bytes_[1]; } // of the formatted area, header included
    std::uint16_t handle() const { return field<std::uint16_t>(2).value_or(0); }

    // The table's byte at an offset as it stands, be it part of the formatted area or not; 0 behind the table's end.
    std::uint8_t byteAt(std::size_t offset) const { return numberAt<std::uint8_t>(rest(), offset).value_or(0); }

    // Unset where the formatted area ends before the field does.
    template <class Number>
    std::optional<Number> field(std::size_t offset) const
    {
        return numberAt<Number>(formattedArea(), offset);
    }

    // The strings in the table's own coding; the first one has number 1. A string that the table's end cuts off is as long as
    // what is there of it.
    std::vector<std::string_view> stringSet() const;

private:
    // The table from here on, and the structure's share of it; empty for a structure of the tail.
    std::span<const std::uint8_t> rest() const;
    std::span<const std::uint8_t> formattedArea() const;

    const std::uint8_t* bytes_;
    const std::uint8_t* tableEnd_;
};

// The bytes that closeTable adds.
constexpr std::size_t kTableTailSize = 264;

// Puts a tail behind a table on which every walk through it comes to rest, whatever its bytes are.
void closeTable(std::vector<std::uint8_t>& table);
}
