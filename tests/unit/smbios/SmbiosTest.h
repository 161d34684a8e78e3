#pragma once

#include "hw-inventory-impl/lib/Records.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace smbios_test
{
using Bytes = std::vector<std::uint8_t>;

// A structure in the making: its formatted area of the given length, the header's handle left 0, and its strings.
class Structure
{
public:
    Structure(std::uint8_t type, std::uint8_t length, std::vector<std::string> strings = {})
        : formatted_(length), strings_(std::move(strings))
    {
        formatted_[0] = type;
        formatted_[1] = length;
    }

    template <class Number>
    Structure& set(std::size_t offset, Number number)
    {
        std::memcpy(&formatted_.at(offset + sizeof number - 1) - (sizeof number - 1), &number, sizeof number);
        return *this;
    }

    Bytes bytes() const
    {
        Bytes bytes = formatted_;
        for (const std::string& text : strings_)
            bytes.insert(bytes.end(), text.c_str(), text.c_str() + text.size() + 1);
        bytes.insert(bytes.end(), strings_.empty() ? 2 : 1, 0);
        return bytes;
    }

private:
    Bytes formatted_;
    std::vector<std::string> strings_;
};

// As the firmware call returns it: the structures behind their header.
inline Bytes rawTable(std::uint8_t major, std::uint8_t minor, const Bytes& structures)
{
    Bytes table{0, major, minor, 0, 0, 0, 0, 0};
    const auto length = static_cast<std::uint32_t>(structures.size());
    std::memcpy(&table[4], &length, sizeof length);
    table.insert(table.end(), structures.begin(), structures.end());
    return table;
}

inline Bytes join(const std::vector<Structure>& structures)
{
    Bytes joined;
    for (const Structure& structure : structures)
    {
        const Bytes bytes = structure.bytes();
        joined.insert(joined.end(), bytes.begin(), bytes.end());
    }
    return joined;
}

// With the end-of-table structure.
inline Bytes rawTable(std::uint8_t major, std::uint8_t minor, std::vector<Structure> structures)
{
    structures.emplace_back(std::uint8_t{127}, std::uint8_t{4});
    return rawTable(major, minor, join(structures));
}

// Records as one line each.
std::wstring show(const HardwareInventory::MotherBoardInfo& board);
std::wstring show(const HardwareInventory::CpuInfo& processor);
std::wstring show(const HardwareInventory::RamInfo& memory);

template <class Record>
std::vector<std::wstring> showAll(const std::vector<Record>& records)
{
    std::vector<std::wstring> lines;
    for (const Record& record : records)
        lines.push_back(show(record));
    return lines;
}
}
