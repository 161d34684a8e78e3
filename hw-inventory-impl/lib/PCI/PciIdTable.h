#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

namespace HardwareInventory
{
// Names by identifier in one flat table in ascending order. The names stay where the list's text is.
class PciIdTable
{
public:
    struct Entry
    {
        std::uint64_t id;
        std::string_view name;
    };

    // Entries come in any order; arrange() makes them findable.
    void append(std::uint64_t id, std::string_view name) { entries_.push_back({id, name}); }

    // Puts the entries in order; of several with the same identifier the last stays. A list is in order but for its end, where
    // the device classes reuse a small identifier, so only what follows the first entry out of order is sorted.
    void arrange()
    {
        const auto disorder = std::ranges::is_sorted_until(entries_, {}, &Entry::id);
        std::ranges::stable_sort(disorder, entries_.end(), {}, &Entry::id);
        std::ranges::inplace_merge(entries_, disorder, {}, &Entry::id);

        const auto sameId = [](const Entry& one, const Entry& other) { return one.id == other.id; };
        entries_.erase(entries_.begin(), std::unique(entries_.rbegin(), entries_.rend(), sameId).base());
        entries_.shrink_to_fit();
    }

    // Null when the identifier is unknown.
    const std::string_view* find(std::uint64_t id) const
    {
        const auto entry = std::ranges::lower_bound(entries_, id, {}, &Entry::id);
        return entry != entries_.end() && entry->id == id ? &entry->name : nullptr;
    }

    const std::vector<Entry>& entries() const { return entries_; }

private:
    std::vector<Entry> entries_;
};
}
