#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace HardwareInventory
{
// Maps free-form vendor texts to the closest known vendor name. Names are compared in a reduced form that ignores case and
// punctuation: letters in lower case, everything else "~".
class VendorRegistry
{
public:
    struct Match
    {
        std::wstring vendor; // empty if no name matches
        std::wstring rest;   // the text behind its first word, the separator included; the whole text without a match
    };

    // Contains every vendor name of the PCI ID database, in ascending order of vendor ID. Built on first use, destroyed when the
    // process ends.
    static const VendorRegistry& instance();

    VendorRegistry() = default;

    void registerVendor(const std::wstring& name);
    Match closestVendor(const std::wstring& text) const;

private:
    struct Entry
    {
        std::wstring reduced;
        std::wstring name;
    };

    // Positions in entries_, in ascending order.
    using Candidates = std::vector<std::size_t>;

    Candidates candidatesFor(const std::wstring& reduced) const;
    std::span<const std::size_t> endingAt(std::size_t length, std::span<const std::size_t> alike) const;
    std::wstring namesOf(const Candidates& candidates) const;
    const Entry& closest(const Candidates& candidates, const std::wstring& reduced) const;

    std::vector<Entry> entries_;         // in registration order
    std::vector<std::size_t> byReduced_; // positions in entries_, ordered by reduced form, then by registration
};
}
