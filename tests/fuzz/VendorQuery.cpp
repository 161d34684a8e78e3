// Each line of Latin-1 text is a query, then a vendor: the result and the log of the plain query. The bytes also number letters, of
// which few make many names that begin alike.
#include "bench/PlainVendorRegistry.h"
#include "hw-inventory-impl/lib/VendorRegistry.h"
#include "st-core/lib/Text.h"
#include "st-core/lib/Utf8.h"
#include "tests/fuzz/Target.h"
#include "tests/runner/LogCapture.h"

#include <set>

namespace
{
constexpr std::wstring_view kLetters = L"aaabB -%1\u00FC\n\n";

void query(const HardwareInventory::VendorRegistry& registry, const plain::VendorRegistry& expected, const std::wstring& text)
{
    const auto [vendor, rest] = expected.closestVendor(text);
    const std::wstring reduced = expected.reduce(text);
    std::wstring names;
    std::set<std::wstring> known; // each candidate is listed once
    for (const auto* const candidate : expected.candidates(reduced))
        if (known.insert(candidate->name).second)
            names += (known.size() > 1 ? L", " : L"") + candidate->name;
    const auto line = [](const std::wstring& text) { return std::pair(0u, std::string(ZelStdCore::toUtf8(text).c_str())); };
    LogCapture::Lines lines{line(L"trying to find vendor for '" + text + L"' (reduced := " + reduced + L")"),
                            line(L"vendor candidates for '" + text + L"' := {" + names + L"}")};
    if (!known.empty())
        lines.push_back(line(L"closest vendor for '" + text + L"' := '" + vendor + L"'"));

    const LogCapture log;
    const auto match = registry.closestVendor(text);
    require(match.vendor == vendor && match.rest == rest, "the same vendor and rest");
    require(log.lines() == lines, "the same log");
}

void check(const std::wstring& text)
{
    HardwareInventory::VendorRegistry registry;
    plain::VendorRegistry expected;
    for (const auto line : ZelStdCore::split(text, L"\n"))
    {
        query(registry, expected, std::wstring(line));
        registry.registerVendor(std::wstring(line));
        expected.registerVendor(std::wstring(line));
    }
}
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::wstring text(data, data + size);
    check(text);
    std::wstring letters;
    for (const wchar_t byte : text)
        letters += kLetters[byte % kLetters.size()];
    check(letters);
    return 0;
}
