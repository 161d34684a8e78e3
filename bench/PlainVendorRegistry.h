#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The vendor query in its plainest form: every entry is compared, and each candidate gets a full table of distances. The measure
// for the speed and the results of the real one.
namespace plain
{
class VendorRegistry
{
public:
    struct Entry
    {
        std::wstring reduced;
        std::wstring name;
    };

    void registerVendor(const std::wstring& name) { entries_.push_back({reduce(name), name}); }

    static std::wstring reduce(const std::wstring& text)
    {
        std::wstring reduced;
        for (const wchar_t character : text)
        {
            const wchar_t lower = character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character + 32) : character;
            const bool isLetter = (lower >= L'a' && lower <= L'z') || (lower >= 0xC0 && lower != 0xD7 && lower != 0xF7);
            reduced += isLetter ? lower : L'~';
        }
        return reduced;
    }

    std::vector<const Entry*> candidates(const std::wstring& reduced) const
    {
        const std::wstring_view text = reduced;
        const auto firstSeparator = text.find(L'~');
        const std::size_t limit = firstSeparator == 0 ? text.size() : firstSeparator;
        std::vector<const Entry*> found;
        for (const Entry& entry : entries_)
        {
            const std::size_t length = std::min(entry.reduced.size(), limit);
            if (std::wstring_view(entry.reduced).substr(0, length) == text.substr(0, std::min(text.size(), length)))
                found.push_back(&entry);
        }
        return found;
    }

    // The vendor and the rest of the text.
    std::pair<std::wstring, std::wstring> closestVendor(const std::wstring& text) const
    {
        const std::wstring reduced = reduce(text);
        const auto found = candidates(reduced);
        if (found.empty())
            return {L"", text};
        const Entry* winner = nullptr;
        std::size_t smallest = 0;
        for (const Entry* candidate : found)
        {
            const std::size_t distance = editDistance(candidate->reduced, reduced);
            if (winner && distance >= smallest)
                continue;
            winner = candidate;
            smallest = distance;
        }
        const auto rest = reduced.find(L'~');
        return {winner->name, rest == std::wstring::npos ? L"" : text.substr(rest)};
    }

    const std::vector<Entry>& entries() const { return entries_; }

private:
    static std::size_t editDistance(const std::wstring& one, const std::wstring& other)
    {
        const std::size_t width = other.size() + 1;
        std::vector<std::size_t> table((one.size() + 1) * width);
        for (std::size_t row = 0; row <= one.size(); ++row)
            for (std::size_t column = 0; column < width; ++column)
            {
                std::size_t& cell = table[row * width + column];
                if (row == 0 || column == 0)
                    cell = row + column;
                else
                    cell = std::min({table[(row - 1) * width + column] + 1, table[row * width + column - 1] + 1,
                                     table[(row - 1) * width + column - 1] + (one[row - 1] != other[column - 1])});
            }
        return table.back();
    }

    std::vector<Entry> entries_;
};
}
