#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

// Builds the result of GetSystemFirmwareTable('RSMB') piece by piece.
class RawTable
{
public:
    // A structure of the given type: the formatted area after its header, then its strings.
    RawTable& add(std::uint8_t type, std::initializer_list<std::uint8_t> fields, std::initializer_list<std::string> strings)
    {
        structures_.insert(structures_.end(), {type, static_cast<std::uint8_t>(4 + fields.size()), 0, 0});
        structures_.insert(structures_.end(), fields);
        for (const std::string& text : strings)
            structures_.insert(structures_.end(), text.c_str(), text.c_str() + text.size() + 1);
        structures_.insert(structures_.end(), strings.size() == 0 ? 2 : 1, std::uint8_t{0});
        return *this;
    }

    RawTable& addBytes(std::initializer_list<std::uint8_t> bytes)
    {
        structures_.insert(structures_.end(), bytes);
        return *this;
    }

    std::vector<std::uint8_t> bytes() const { return bytes(static_cast<std::uint32_t>(structures_.size())); }

    // With a length in the header that need not be true.
    std::vector<std::uint8_t> bytes(std::uint32_t length) const
    {
        std::vector<std::uint8_t> raw{0, 2, 8, 0};
        for (int shift = 0; shift < 32; shift += 8)
            raw.push_back(static_cast<std::uint8_t>(length >> shift));
        raw.insert(raw.end(), structures_.begin(), structures_.end());
        return raw;
    }

private:
    std::vector<std::uint8_t> structures_;
};
