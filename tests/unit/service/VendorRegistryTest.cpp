#include "hw-inventory-impl/lib/VendorRegistry.h"
#include "bench/PlainVendorRegistry.h"
#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "st-core/lib/Utf8.h"
#include "tests/fakes/FakeMachine.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>

using HardwareInventory::VendorRegistry;
using Lines = fakes::LogCapture::Lines;

namespace
{
template <class Registry = VendorRegistry>
Registry registryOf(const std::vector<std::wstring>& names)
{
    Registry registry;
    for (const std::wstring& name : names)
        registry.registerVendor(name);
    return registry;
}

// The result and the log, which lists each candidate once.
void compareWithPlain(const VendorRegistry& registry, const plain::VendorRegistry& expected, const std::wstring& text)
{
    const std::wstring reduced = expected.reduce(text);
    const auto [vendor, rest] = expected.closestVendor(text);
    std::wstring names;
    std::vector<std::wstring> known;
    for (const auto* candidate : expected.candidates(reduced))
    {
        if (std::ranges::count(known, candidate->name) != 0)
            continue;
        names += (known.empty() ? L"" : L", ") + candidate->name;
        known.push_back(candidate->name);
    }
    Lines lines{{0, ZelStdCore::toUtf8(L"trying to find vendor for '" + text + L"' (reduced := " + reduced + L")")},
                {0, ZelStdCore::toUtf8(L"vendor candidates for '" + text + L"' := {" + names + L"}")}};
    if (!known.empty())
        lines.emplace_back(0, ZelStdCore::toUtf8(L"closest vendor for '" + text + L"' := '" + vendor + L"'"));

    const fakes::LogCapture log;
    const auto match = registry.closestVendor(text);
    ASSERT_EQ(std::pair(match.vendor, match.rest), std::pair(vendor, rest)) << lines[0].second;
    ASSERT_EQ(log.lines(), lines);
}
}

TEST(VendorRegistry, WarnsOfNamesWithTheSameReducedForm)
{
    const fakes::LogCapture log;
    const auto registry = registryOf({L"Acme Inc.", L"ACME-inc!", L"Acme Inc", L"acme inc\r"});
    EXPECT_EQ(log.lines(), (Lines{{1, "'ACME-inc!' vendor (reduced := 'acme~inc~') has already been registered"},
                                  {1, "'acme inc\r' vendor (reduced := 'acme~inc~') has already been registered"}}));
    EXPECT_EQ(registry.closestVendor(L"ACME INC?").vendor, L"Acme Inc.");
}

TEST(VendorRegistry, FindsTheClosestOfTheNamesThatBeginLikeTheText)
{
    const auto registry =
        registryOf({L"Interphase", L"Intel Corporation\r", L"Intel", L"Int", L"Western Micro", L"Western Digital\r", L"Tie Two",
                    L"Tie One", L"3Com Corp.", L"\u00DCber Werke", L"1234 5", L"42"});
    const struct
    {
        const wchar_t* text;
        const wchar_t* vendor;
        const wchar_t* rest;
    } cases[] = {
        {L"intel_corporatino", L"Intel Corporation\r", L"_corporatino"},
        {L"WESTERN DIGITAL WD10", L"Western Digital\r", L" DIGITAL WD10"},
        {L"INTELLIGENT", L"Intel", L""},
        {L"Integral 2", L"Int", L" 2"},
        {L"In 7", L"Int", L" 7"},
        {L"I", L"", L"I"},
        {L"Tie Six", L"Tie Two", L" Six"},
        {L"3COM corp", L"3Com Corp.", L"3COM corp"},
        {L"3COMx corp", L"", L"3COMx corp"},
        {L"123", L"42", L"123"},
        {L"\u00DCber Disk", L"\u00DCber Werke", L" Disk"},
        {L"\u2122ber %1%", L"", L"\u2122ber %1%"},
        {L"", L"", L""},
    };
    for (const auto& one : cases)
    {
        const auto match = registry.closestVendor(one.text);
        EXPECT_EQ(std::pair(match.vendor, match.rest), std::pair(std::wstring(one.vendor), std::wstring(one.rest)));
    }
}

TEST(VendorRegistry, AgreesWithThePlainQueryOnRandomNames)
{
    std::mt19937 random(1);
    const auto word = [&random]
    {
        std::wstring text;
        for (unsigned left = random() % 7; left > 0; --left)
            text += L"aaabB -%1\u00FC"[random() % 10];
        return text;
    };
    for (int round = 0; round < 500 && !testing::Test::HasFatalFailure(); ++round)
    {
        std::vector<std::wstring> names(random() % 12);
        std::ranges::generate(names, word);
        const auto registry = registryOf(names);
        const auto expected = registryOf<plain::VendorRegistry>(names);
        for (int query = 0; query < 20; ++query)
            compareWithPlain(registry, expected, word());
    }
}

TEST(VendorRegistry, AgreesWithThePlainQueryOnTheBuiltInListAndRealDiskModels)
{
    const auto names = HardwareInventory::PciIdDatabase::instance().vendorNames();
    const auto expected = registryOf<plain::VendorRegistry>(names);
    for (const std::wstring& name : names)
        compareWithPlain(VendorRegistry::instance(), expected, name.substr(0, name.size() / 2) + L" 500");

    const char* const corpus = std::getenv("HW_INVENTORY_CORPUS");
    std::ifstream models(std::filesystem::path(corpus ? corpus : "") / "strings" / "disk_models.txt");
    if (!models)
        GTEST_SKIP() << "no data of real machines in HW_INVENTORY_CORPUS";
    for (std::string line; std::getline(models, line) && !HasFatalFailure();)
        if (!line.starts_with('#'))
            compareWithPlain(VendorRegistry::instance(), expected, ZelStdCore::widen(line.substr(0, line.find('\t'))));
}
