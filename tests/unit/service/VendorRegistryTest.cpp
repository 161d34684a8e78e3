#include "hw-inventory-impl/lib/VendorRegistry.h"
#include "tests/runner/LogCapture.h"

#include <gtest/gtest.h>

TEST(VendorRegistry, FindsTheClosestOfTheNamesThatBeginLikeTheText)
{
    const LogCapture log;
    HardwareInventory::VendorRegistry registry;
    for (const wchar_t* name :
         {L"Acme Inc.", L"ACME-inc!", L"Acme Inc", L"acme inc\r", L"Interphase", L"Intel Corporation\r", L"Intel", L"Int",
          L"Western Micro", L"Western Digital\r", L"Tie Two", L"Tie One", L"3Com Corp.", L"\u00DCber Werke", L"1234 5", L"42"})
        registry.registerVendor(name);
    EXPECT_EQ(log.lines(), (LogCapture::Lines{{1, "'ACME-inc!' vendor (reduced := 'acme~inc~') has already been registered"},
                                              {1, "'acme inc\r' vendor (reduced := 'acme~inc~') has already been registered"}}));
    const wchar_t* const cases[][3] = {
        {L"ACME INC?", L"Acme Inc.", L" INC?"},
        {L"intel_corporatino", L"Intel Corporation\r", L"_corporatino"},
        {L"WESTERN DIGITAL WD10", L"Western Digital\r", L" DIGITAL WD10"},
        {L"INTELLIGENT", L"Intel", L""},
        {L"Integral 2", L"Int", L" 2"},
        {L"I", L"", L"I"},
        {L"Tie Six", L"Tie Two", L" Six"},
        {L"3COM corp", L"3Com Corp.", L"3COM corp"},
        {L"\u00DCber Disk", L"\u00DCber Werke", L" Disk"},
        {L"\u2122ber %1%", L"", L"\u2122ber %1%"},
    };
    for (const auto& [text, vendor, rest] : cases)
    {
        const auto match = registry.closestVendor(text);
        EXPECT_EQ(std::pair(match.vendor, match.rest), (std::pair<std::wstring, std::wstring>(vendor, rest)));
    }
    EXPECT_EQ(registry.instance().closestVendor(L"INTEL corporation 7").vendor.substr(0, 17), L"Intel Corporation");
}
