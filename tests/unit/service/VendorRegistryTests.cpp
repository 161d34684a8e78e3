#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "hw-inventory-impl/lib/VendorRegistry.h"
#include "st-core/lib/Text.h"
#include "tests/bench/PlainVendorRegistry.h"
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

    // The answer and the candidates that the log names.
    void compareWithPlain(const VendorRegistry& registry, const plain::VendorRegistry& expected, const std::wstring& text)
    {
        const std::string trace = ZelStdCore::toUtf8(text);
        SCOPED_TRACE(trace);
        const fakes::LogCapture log;
        const auto match = registry.closestVendor(text);
        ASSERT_EQ(std::pair(match.vendor, match.rest), expected.closestVendor(text));

        std::wstring names;
        std::vector<std::wstring> known;
        for (const auto* candidate : expected.candidates(expected.reduce(text)))
        {
            if (std::ranges::count(known, candidate->name) != 0)
                continue;
            names += (known.empty() ? L"" : L", ") + candidate->name;
            known.push_back(candidate->name);
        }
        const auto message = ZelStdCore::toUtf8(L"vendor candidates for '" + text + L"' := {" + names + L"}");
        ASSERT_EQ(log.lines().at(1), std::pair(0u, message));
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
    const auto registry = registryOf({L"Interphase", L"Intel Corporation\r", L"Intel", L"Int", L"Western Micro",
                                      L"Western Digital\r", L"Tie Two", L"Tie One", L"3Com Corp.", L"\u00DCber Werke",
                                      L"1234 5", L"42"});
    const struct
    {
        const wchar_t* text;
        const wchar_t* vendor;
        const wchar_t* rest;
    } cases[] = {
        {L"Intel SSD 520", L"Intel", L" SSD 520"},
        {L"intel_corporatino", L"Intel Corporation\r", L"_corporatino"},
        {L"WESTERN DIGITAL WD10", L"Western Digital\r", L" DIGITAL WD10"},
        {L"Intel", L"Intel", L""},
        {L"INTELLIGENT", L"Intel", L""},
        {L"Integral", L"Int", L""},
        {L"Integral 2", L"Int", L" 2"},
        {L"Interphase 7", L"Interphase", L" 7"},
        {L"Inter 7", L"Int", L" 7"},
        {L"In 7", L"Int", L" 7"},
        {L"I", L"", L"I"},
        {L"Tie Six", L"Tie Two", L" Six"},
        {L"3COM corp", L"3Com Corp.", L"3COM corp"},
        {L"3COMx corp", L"", L"3COMx corp"},
        {L"123", L"42", L"123"},
        {L"\u00DCber Disk", L"\u00DCber Werke", L" Disk"},
        {L"\u2122ber Disk", L"", L"\u2122ber Disk"},
        {L"", L"", L""},
    };
    for (const auto& one : cases)
    {
        const std::string trace = ZelStdCore::toUtf8(one.text);
        SCOPED_TRACE(trace);
        const auto match = registry.closestVendor(one.text);
        EXPECT_EQ(match.vendor, one.vendor);
        EXPECT_EQ(match.rest, one.rest);
    }
    EXPECT_EQ(registryOf({L"", L"A"}).closestVendor(L"b 1").vendor, L"");
}

TEST(VendorRegistry, LogsTheQueryItsCandidatesAndTheMatch)
{
    const auto registry = registryOf({L"Int", L"Western", L"Intel Corp", L"Int"});
    const fakes::LogCapture log;
    registry.closestVendor(L"Intel 5");
    registry.closestVendor(L"%1% 5");
    EXPECT_EQ(log.lines(), (Lines{{0, "trying to find vendor for 'Intel 5' (reduced := intel~~)"},
                                  {0, "vendor candidates for 'Intel 5' := {Int, Intel Corp}"},
                                  {0, "closest vendor for 'Intel 5' := 'Int'"},
                                  {0, "trying to find vendor for '%1% 5' (reduced := ~~~~~)"},
                                  {0, "vendor candidates for '%1% 5' := {}"}}));
}

TEST(VendorRegistry, AgreesWithThePlainQueryOnRandomNames)
{
    std::mt19937 random(1);
    const auto word = [&random] {
        std::wstring text;
        for (unsigned left = random() % 7; left > 0; --left)
            text += L"aaabB -1\u00FC"[random() % 9];
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

TEST(VendorRegistry, KnowsTheVendorsOfTheBuiltInList)
{
    const auto names = HardwareInventory::PciIdDatabase::instance().vendorNames();
    const auto expected = registryOf<plain::VendorRegistry>(names);
    const auto& registry = VendorRegistry::instance();
    for (const std::wstring& name : names)
        compareWithPlain(registry, expected, name.substr(0, name.size() / 2) + L" 500");
    for (const std::wstring& name : names)
        EXPECT_EQ(expected.reduce(registry.closestVendor(name).vendor), expected.reduce(name));
}

TEST(VendorRegistry, AgreesWithThePlainQueryOnRealDiskModels)
{
    const char* const corpus = std::getenv("HW_INVENTORY_CORPUS");
    std::ifstream models(std::filesystem::path(corpus ? corpus : "") / "strings" / "disk_models.txt");
    if (!models)
        GTEST_SKIP() << "no data of real machines in HW_INVENTORY_CORPUS";
    const auto expected = registryOf<plain::VendorRegistry>(HardwareInventory::PciIdDatabase::instance().vendorNames());
    for (std::string line; std::getline(models, line) && !HasFatalFailure();)
        if (!line.starts_with('#'))
            compareWithPlain(VendorRegistry::instance(), expected, ZelStdCore::widen(line.substr(0, line.find('\t'))));
}
