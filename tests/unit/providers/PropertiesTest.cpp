#include "hw-inventory-impl/lib/Providers/Properties.h"
#include "st-core/lib/Time.h"
#include "tests/unit/providers/Support.h"

#include <algorithm>
#include <cerrno>

namespace fakes
{
namespace
{
using PropertiesTest = ProvidersTest;

std::shared_ptr<const ManagementObject> objectWith(FakeValue value)
{
    return makeObject({{L"P", std::move(value)}});
}

const char* const kUnreadable = "failed to get 'P' property of OBJECT";
const char* const kNoText = "'P' property of OBJECT is not a BSTR as expected";
const char* const kNoNumber = "'P' property of OBJECT is not 4-byte int as expected";
}

TEST_F(PropertiesTest, TextsAndNumbersOfEveryType)
{
    const std::wstring withNul(L"a\0b ", 4);
    const struct
    {
        FakeValue value;
        std::wstring text;
        std::uint32_t number;
        Lines log;
    } cases[] = {
        {Unreadable{}, L"", 0, {kUnreadable, kUnreadable}},
        {Null{}, L"", 0, {kNoText, kNoNumber}},
        {withNul, withNul, 0, {kNoNumber}},
        {-1, L"", UINT32_MAX, {kNoText}},
        {true, L"", 0, {kNoText, kNoNumber}},
        {OtherType{}, L"", 0, {kNoText, kNoNumber}},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.value.index());
        EXPECT_EQ(getString(*objectWith(each.value), L"P"), each.text);
        std::uint32_t field = 7;
        read(*objectWith(each.value), L"P", field);
        EXPECT_EQ(field, each.number);
        EXPECT_EQ(takeLog(), each.log);
    }
}

TEST_F(PropertiesTest, BooleansConvertOrRaise)
{
    EXPECT_TRUE(getBool(*objectWith(true), L"P", false));
    EXPECT_FALSE(getBool(*objectWith(false), L"P", true));
    EXPECT_EQ(takeLog(), Lines());
    EXPECT_TRUE(getBool(*objectWith(Unreadable{}), L"P", true));
    EXPECT_FALSE(getBool(*objectWith(Unreadable{}), L"P", false));
    EXPECT_EQ(takeLog(), Lines(2, kUnreadable));
    EXPECT_THROW(getBool(*objectWith(Null{}), L"P", true), ComError) << "no value is not the default";
}

TEST_F(PropertiesTest, ArraysOfTexts)
{
    EXPECT_EQ(getStringArray(*objectWith(Texts{L"b", L"", L"a"}), L"P"), (Texts{L"b", L"", L"a"}));
    EXPECT_EQ(takeLog(), Lines());
    EXPECT_EQ(getStringArray(*objectWith(Unreadable{}), L"P"), Texts());
    failCall("VariantClear");
    EXPECT_EQ(getStringArray(*objectWith(Texts{L"a"}), L"P"), Texts());
    EXPECT_EQ(takeLog(), (Lines{kUnreadable, "failed to attach variant to CComVariant"}));
}

TEST_F(PropertiesTest, DatesAreTakenAsWritten)
{
    const auto misfit = [](const std::string& text)
    { return Lines{"failed to convert '" + text + "' to time using '%Y%m%d%H%M%S' format: errno 33"}; };
    const struct
    {
        const wchar_t* text;
        const wchar_t* date; // null: none
        Lines log = {};
    } cases[] = {
        {L"20231105120000.999999-480", L"2023-11-05 12:00:00"},
        {L"20231105120000.", L"2023-11-05 12:00:00"},
        {L"20231105120000", nullptr},
        {L"", nullptr},
        {L"20231105120000.000000.+060", nullptr},
        {L"200611********.******+***", nullptr, misfit("200611********")},
        {L".000000+000", nullptr, misfit("")},
        {L"+infinity.0", nullptr, {"tm unable to handle +infinity date value"}},
        {L"00000000000000.000000+000", nullptr, misfit("00000000000000")},
        {L"20231399000000.000000+000", nullptr, misfit("20231399000000")},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.text));
        std::int64_t time = 7;
        errno = 33;
        read(*objectWith(each.text), L"P", time);
        if (each.date)
            EXPECT_EQ(ZelStdCore::timeToString(time, L"%Y-%m-%d %H:%M:%S"), each.date);
        else
            EXPECT_EQ(time, 0);
        EXPECT_EQ(takeLog(), each.log);
    }
    EXPECT_EQ(std::ranges::count(machine().calls, "SymInitializeW"), 0) << "a warning takes a stack trace";
    // One second before the first time that can be represented everywhere, in UTC.
    EXPECT_EQ(getDateTime(*objectWith(L"19691231235959.000000+000"), L"P"), 0);
    EXPECT_EQ(takeLog(), Lines{"'P' property of OBJECT is not a representable date as expected"});
}

TEST_F(PropertiesTest, SizesAreDecimalTexts)
{
    const std::pair<const wchar_t*, std::uint64_t> cases[] = {{L"", 0},
                                                              {L"abc", 0},
                                                              {L" \t42 GB", 42},
                                                              {L"007", 7},
                                                              {L"0x10", 0},
                                                              {L"1,234", 1},
                                                              {L"18446744073709551615", UINT64_MAX},
                                                              {L"18446744073709551616", UINT64_MAX}};
    for (const auto& [text, number] : cases)
    {
        std::uint64_t field = 7;
        read(*objectWith(text), L"P", field);
        EXPECT_EQ(field, number) << testing::PrintToString(text);
    }
}
}
