#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace HardwareInventory
{
// Finds the lines of a list and the separator of each line's two fields in one pass. The text is scanned in blocks of 64 bytes: a
// loop that compilers vectorise marks the line ends and the double spaces of a block, and only marked bytes are then visited.
// Separate searches would take longer than the whole parse does, because the distances cannot be predicted.
class ListLines
{
public:
    explicit ListLines(std::string_view text) : text_(text) {}

    // Calls visit(line, separator) for each line that has a line end, until it returns false. The separator is the only double
    // space in the line, null if it has none or several that do not overlap.
    template <class Visit>
    void forEach(Visit visit) const
    {
        const char* begin = text_.data();
        const char* separator = nullptr;
        bool isOnly = true;
        for (std::size_t block = 0; block < text_.size(); block += kBlockSize)
            for (std::uint64_t marks = marksOf(text_.substr(block)); marks != 0; marks &= marks - 1)
            {
                const char* const position = text_.data() + block + std::countr_zero(marks);
                if (*position == ' ')
                {
                    isOnly = !separator || (isOnly && position == separator + 1);
                    separator = separator ? separator : position;
                    continue;
                }
                if (!visit(std::string_view(begin, static_cast<std::size_t>(position - begin)), isOnly ? separator : nullptr))
                    return;
                begin = position + 1;
                separator = nullptr;
                isOnly = true;
            }
    }

private:
    static constexpr std::size_t kBlockSize = 64;

    // A bit for each of the first 64 bytes, the lowest for the first byte.
    static std::uint64_t marksOf(std::string_view text)
    {
        if (text.size() > kBlockSize)
            return marksOfBlock(text.data());
        std::array<char, kBlockSize + 1> padded{};
        text.copy(padded.data(), kBlockSize);
        return marksOfBlock(padded.data());
    }

    // Reads one byte beyond the block.
    static std::uint64_t marksOfBlock(const char* block)
    {
        std::array<unsigned char, kBlockSize> isMarked;
        for (std::size_t index = 0; index < kBlockSize; ++index)
            isMarked[index] = (block[index] == '\n') | ((block[index] == ' ') & (block[index + 1] == ' '));

        // One multiplication gathers eight bytes of 0 or 1 into the eight bits of the highest byte.
        static_assert(std::endian::native == std::endian::little);
        constexpr std::uint64_t gather = 0x0102040810204080;
        std::uint64_t marks = 0;
        for (std::size_t index = 0; index < kBlockSize; index += 8)
        {
            std::uint64_t eight;
            std::memcpy(&eight, isMarked.data() + index, sizeof eight);
            marks |= (eight * gather >> 56) << index;
        }
        return marks;
    }

    std::string_view text_;
};
}
