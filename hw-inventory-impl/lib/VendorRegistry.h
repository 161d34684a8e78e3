#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <utility>
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
        std::wstring vendor; // empty when no known name begins like the text
        std::wstring rest;   // the text behind its first word, the separator included; the whole text without a match
    };

    // Filled with every vendor name of the PCI ID database, in ascending vendor order. Built on first use, guarded.
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

    std::vector<Entry> entries_;                             // in registration order
    std::unordered_map<std::wstring, std::size_t> byReduced_; // the first entry of each reduced form
};
}
