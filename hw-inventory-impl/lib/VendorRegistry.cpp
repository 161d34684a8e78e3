#include "hw-inventory-impl/lib/VendorRegistry.h"

#include "hw-inventory-impl/lib/BuiltOnce.h"
#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "st-core/lib/HostLogger.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <numeric>
#include <set>
#include <span>
#include <string_view>
#include <utility>

using ZelStdCore::HostLogger;
using ZelStdCore::logInfo;
using ZelStdCore::logWarning;

namespace HardwareInventory
{
namespace
{
constexpr wchar_t kSeparator = L'~';

struct CharacterRange
{
    wchar_t first;
    wchar_t last;
};

// The letters of Windows, as whole blocks, without the capital ASCII letters. The C library's own class depends on the platform
// and on the locale that the host has set: it may contain ASCII alone, and an umlaut would end a word.
constexpr CharacterRange kLetters[] = {{L'a', L'z'}, {0x00C0, 0x00D6}, {0x00D8, 0x00F6}, {0x00F8, 0x1FFF}, {0x3041, 0xD7FF}};

// Lowers ASCII letters only, as Windows' C locale does.
wchar_t reduce(wchar_t character)
{
    if (character >= L'A' && character <= L'Z')
        return static_cast<wchar_t>(character - L'A' + L'a');
    const auto holds = [character](const CharacterRange& range) { return character >= range.first && character <= range.last; };
    return std::ranges::any_of(kLetters, holds) ? character : kSeparator;
}

std::wstring reduce(const std::wstring& text)
{
    std::wstring reduced(text.size(), kSeparator);
    std::ranges::transform(text, reduced.begin(), [](wchar_t character) { return reduce(character); });
    return reduced;
}

// The Levenshtein distance; row is working space.
std::size_t editDistance(std::wstring_view one, std::wstring_view other, std::vector<std::size_t>& row)
{
    row.resize(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const wchar_t character : one)
    {
        std::size_t diagonal = row[0]++;
        for (std::size_t column = 0; column < other.size(); ++column)
        {
            const std::size_t substituted = diagonal + (character != other[column]);
            diagonal = row[column + 1];
            row[column + 1] = std::min({substituted, diagonal + 1, row[column] + 1});
        }
    }
    return row.back();
}

std::unique_ptr<const VendorRegistry> readDatabase()
{
    auto registry = std::make_unique<VendorRegistry>();
    for (const std::wstring& name : PciIdDatabase::instance().vendorNames())
        registry->registerVendor(name);
    return registry;
}
}

const VendorRegistry& VendorRegistry::instance()
{
    static constinit BuiltOnce<const VendorRegistry> registry;
    return registry.get(readDatabase);
}

void VendorRegistry::registerVendor(const std::wstring& name)
{
    std::wstring reduced = reduce(name);
    const auto reducedForm = [this](std::size_t position) -> const std::wstring& { return entries_[position].reduced; };
    const auto equal = std::ranges::equal_range(byReduced_, reduced, {}, reducedForm);
    if (!equal.empty())
        logWarning(L"'%1%' vendor (reduced := '%2%') has already been registered", name, reduced);
    entries_.push_back({std::move(reduced), name});
    byReduced_.insert(equal.end(), entries_.size() - 1);
}

VendorRegistry::Match VendorRegistry::closestVendor(const std::wstring& text) const
{
    const std::wstring reduced = reduce(text);
    logInfo(L"trying to find vendor for '%1%' (reduced := %2%)", text, reduced);
    const Candidates candidates = candidatesFor(reduced);
    if (HostLogger::instance().enabled())
        logInfo(L"vendor candidates for '%1%' := {%2%}", text, namesOf(candidates));
    if (candidates.empty())
        return {L"", text};

    const Entry& winner = closest(candidates, reduced);
    logInfo(L"closest vendor for '%1%' := '%2%'", text, winner.name);
    return {winner.name, text.substr(std::min(reduced.find(kSeparator), text.size()))};
}

// Returns the entries that begin with the text's first word (with the whole text, if it begins with no letter), and the shorter
// ones that the text begins with. A text of one word has only the latter. The range of entries that share a beginning with the
// text is narrowed one character at a time.
VendorRegistry::Candidates VendorRegistry::candidatesFor(const std::wstring& reduced) const
{
    const auto firstSeparator = reduced.find(kSeparator);
    const bool isOneWord = firstSeparator == std::wstring::npos;
    const std::size_t length = isOneWord || firstSeparator == 0 ? reduced.size() : firstSeparator;

    Candidates candidates;
    std::span<const std::size_t> alike = byReduced_;
    for (std::size_t depth = 0; depth < length; ++depth)
    {
        const auto ended = endingAt(depth, alike);
        candidates.insert(candidates.end(), ended.begin(), ended.end());
        const auto character = [this, depth](std::size_t position) { return entries_[position].reduced[depth]; };
        const auto next = std::ranges::equal_range(alike.subspan(ended.size()), reduced[depth], {}, character);
        alike = {next.begin(), next.end()};
    }
    if (isOneWord)
        alike = endingAt(length, alike);
    candidates.insert(candidates.end(), alike.begin(), alike.end());
    std::ranges::sort(candidates);
    return candidates;
}

// Of entries that agree up to the length, those of just that length. They are sorted first.
std::span<const std::size_t> VendorRegistry::endingAt(std::size_t length, std::span<const std::size_t> alike) const
{
    const auto ends = [this, length](std::size_t position) { return entries_[position].reduced.size() == length; };
    const auto end = std::ranges::partition_point(alike, ends);
    return {alike.begin(), end};
}

// Each name once.
std::wstring VendorRegistry::namesOf(const Candidates& candidates) const
{
    std::wstring names;
    std::set<std::wstring_view> known;
    for (const std::size_t position : candidates)
        if (const std::wstring& name = entries_[position].name; known.insert(name).second)
            names += (known.size() > 1 ? L", " : L"") + name;
    return names;
}

const VendorRegistry::Entry& VendorRegistry::closest(const Candidates& candidates, const std::wstring& reduced) const
{
    std::vector<std::size_t> row;
    std::size_t winner = candidates.front();
    std::size_t smallest = std::numeric_limits<std::size_t>::max();
    for (const std::size_t position : candidates)
    {
        const std::wstring& candidate = entries_[position].reduced;
        // The distance is at least the difference in length.
        if (std::max(candidate.size(), reduced.size()) - std::min(candidate.size(), reduced.size()) >= smallest)
            continue;
        const std::size_t distance = editDistance(candidate, reduced, row);
        if (distance >= smallest)
            continue;
        smallest = distance;
        winner = position;
    }
    return entries_[winner];
}
}
