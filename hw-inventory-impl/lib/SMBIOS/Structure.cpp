#include "hw-inventory-impl/lib/SMBIOS/Structure.h"

#include <algorithm>
#include <array>

namespace HardwareInventory::SMBIOS
{
namespace
{
// A structure whose length byte is the table's last has its strings at most 253 bytes behind the table, and one that begins
// at the last byte takes its length from the fill: strings always start in the table or in the fill. Those that reach the
// fill run through it to the two zeros, behind which the closing structure stands. A step that ends short of that, right
// behind the table's end or one byte further, is at a fill byte, which is the type of the closing structure too.
constexpr std::size_t kFillSize = 256;
constexpr std::array<std::uint8_t, 8> kClosing{0, 0, StructureType::endOfTable, 4, 0xFE, 0xFF, 0, 0};
static_assert(kFillSize + kClosing.size() == kTableTailSize);
}

std::span<const std::uint8_t> Struct::rest() const
{
    return {bytes_, std::max(bytes_, tableEnd_)};
}

std::span<const std::uint8_t> Struct::formattedArea() const
{
    return rest().first(std::min<std::size_t>(rest().size(), length()));
}

std::vector<std::string_view> Struct::stringSet() const
{
    std::vector<std::string_view> strings;
    for (const std::uint8_t* begin = bytes_ + length(); begin < tableEnd_ && *begin != 0;)
    {
        const std::uint8_t* const end = std::find(begin, tableEnd_, std::uint8_t{0});
        strings.emplace_back(reinterpret_cast<const char*>(begin), static_cast<std::size_t>(end - begin));
        begin = end + 1;
    }
    return strings;
}

void closeTable(std::vector<std::uint8_t>& table)
{
    table.insert(table.end(), kFillSize, StructureType::endOfTable);
    table.insert(table.end(), kClosing.begin(), kClosing.end());
}
}
