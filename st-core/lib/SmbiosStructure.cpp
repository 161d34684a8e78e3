#include "st-core/lib/SmbiosStructure.h"

#include <algorithm>

namespace ZelStdCore
{
namespace
{
using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kHeaderSize = 4;

Bytes behind(Bytes bytes, std::size_t count)
{
    return bytes.subspan(std::min(count, bytes.size()));
}

// Takes a string and its zero off the bytes; one without a zero is as long as the bytes are.
std::string_view takeString(Bytes& bytes)
{
    // By the library's string search, since most of a table is strings.
    const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::size_t length = std::min(all.find('\0'), all.size());
    const std::string_view string = all.substr(0, length);
    bytes = behind(bytes, length + 1);
    return string;
}
}

bool SmbiosStructure::isWhole() const
{
    return length() >= kHeaderSize && length() <= bytes_.size();
}

std::size_t SmbiosStructure::formattedSize() const
{
    return std::min<std::size_t>(length(), bytes_.size());
}

std::vector<std::string_view> SmbiosStructure::strings(CutString cutString) const
{
    const auto* const tableEnd = reinterpret_cast<const char*>(bytes_.data() + bytes_.size());
    std::vector<std::string_view> strings;
    Bytes rest = behind(bytes_, length());
    strings.reserve(8); // the most that common structures have
    for (std::string_view string = takeString(rest); !string.empty(); string = takeString(rest))
    {
        const bool isCut = string.data() + string.size() == tableEnd;
        if (!isCut || cutString == CutString::keep)
            strings.push_back(string);
    }
    return strings;
}

SmbiosStructure SmbiosStructure::next() const
{
    Bytes rest = behind(bytes_, length());
    if (takeString(rest).empty())
        return SmbiosStructure(behind(rest, 1)); // no strings: two zeros
    while (!takeString(rest).empty())
        ;
    return SmbiosStructure(rest);
}
}
