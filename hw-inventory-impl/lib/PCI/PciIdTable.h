#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace HardwareInventory
{
// Names by identifier in one flat, sorted table. A name points into the text of its list and ends at the line feed.
class PciIdTable
{
public:
    struct Entry
    {
        std::uint64_t id;
        const char* name;
    };

    void reserve(std::size_t count) { entries_.reserve(count); }

    // Entries come in any order; sort() makes them findable. A list is nearly sorted: out-of-order entries are kept apart.
    void append(std::uint64_t id, const char* name)
    {
        (entries_.empty() || entries_.back().id < id ? entries_ : outOfOrder_).emplace_back(id, name);
    }

    // Of several entries with the same identifier the last stays.
    void sort()
    {
        std::vector<Entry> outOfOrder = std::move(outOfOrder_);
        std::ranges::stable_sort(outOfOrder, {}, &Entry::id);
        const auto middle = entries_.insert(entries_.end(), outOfOrder.begin(), outOfOrder.end());
        std::ranges::inplace_merge(entries_, middle, {}, &Entry::id);
        const auto sameId = [](const Entry& one, const Entry& other) { return one.id == other.id; };
        entries_.erase(entries_.begin(), std::unique(entries_.rbegin(), entries_.rend(), sameId).base());
    }

    // Null if the identifier is unknown.
    const char* find(std::uint64_t id) const
    {
        if (entries_.empty())
            return nullptr;
        // A binary search over ranges of a power of two, the first two of which may overlap. It adds the result of a comparison
        // instead of branching on it: the processor mispredicts such a branch half the time.
        const std::size_t length = std::bit_floor(entries_.size());
        const Entry* entry = entries_.data();
        if (const Entry* const upper = entry + entries_.size() - length; upper->id <= id)
            entry = upper;
        for (int bit = std::countr_zero(length); bit-- > 0;)
            entry += std::size_t{entry[std::size_t{1} << bit].id <= id} << bit;
        return entry->id == id ? entry->name : nullptr;
    }

    const std::vector<Entry>& entries() const { return entries_; }

private:
    std::vector<Entry> entries_;
    std::vector<Entry> outOfOrder_; // as appended; empty after sort()
};
}
