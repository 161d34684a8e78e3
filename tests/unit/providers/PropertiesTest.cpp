#include "hw-inventory-impl/lib/Providers/Properties.h"
#include "tests/unit/providers/Support.h"

#include <regex>

namespace fakes
{
namespace
{
class PropertiesTest : public ProvidersTest
{
};

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
        std::int32_t number;
        Lines log;
    } cases[] = {
        {Unreadable{}, L"", 0, {kUnreadable, kUnreadable}},
        {Null{}, L"", 0, {kNoText, kNoNumber}},
        {withNul, withNul, 0, {kNoNumber}},
        {L"", L"", 0, {kNoNumber}},
        {-1, L"", -1, {kNoText}},
        {true, L"", 0, {kNoText, kNoNumber}},
        {OtherType{}, L"", 0, {kNoText, kNoNumber}},
        {Texts{L"a"}, L"", 0, {kNoText, kNoNumber}},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.value.index());
        const auto object = objectWith(each.value);
        EXPECT_EQ(getString(*object, L"P"), each.text);
        EXPECT_EQ(getInt(*object, L"p"), each.number) << "names ignore case";
        std::uint32_t field = 7;
        read(*object, L"P", field);
        EXPECT_EQ(field, static_cast<std::uint32_t>(each.number));
        Lines log = takeLog();
        log.resize(each.log.size());
        EXPECT_EQ(std::regex_replace(testing::PrintToString(log), std::regex("'p'"), "'P'"), testing::PrintToString(each.log));
    }
}

TEST_F(PropertiesTest, BooleansConvertOrRaise)
{
    const struct
    {
        FakeValue value;
        bool defaultValue;
        bool result;
        Lines log;
    } cases[] = {
        {true, false, true, {}},
        {false, true, false, {}},
        {1, false, true, {}},
        {Unreadable{}, true, true, {kUnreadable}},
        {Unreadable{}, false, false, {kUnreadable}},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.value.index());
        EXPECT_EQ(getBool(*objectWith(each.value), L"P", each.defaultValue), each.result);
        EXPECT_EQ(takeLog(), each.log);
    }
    EXPECT_THROW(getBool(*objectWith(Null{}), L"P", true), ComError) << "no value is not the default";
}

TEST_F(PropertiesTest, ArraysOfTexts)
{
    EXPECT_EQ(getStringArray(*objectWith(Texts{L"b", L"", L"a"}), L"P"), (Texts{L"b", L"", L"a"}));
    EXPECT_EQ(getStringArray(*objectWith(Null{}), L"P"), Texts());
    EXPECT_EQ(takeLog(), Lines());
    EXPECT_EQ(getStringArray(*objectWith(Unreadable{}), L"P"), Texts());
    EXPECT_EQ(takeLog(), Lines{kUnreadable});
    EXPECT_THROW(getStringArray(*objectWith(L"a"), L"P"), ComError);

    failCall("VariantClear");
    EXPECT_EQ(getStringArray(*objectWith(Texts{L"a"}), L"P"), Texts());
    EXPECT_EQ(takeLog(), Lines{"failed to attach variant to CComVariant"});
}

TEST_F(PropertiesTest, DatesAreTakenAsWritten)
{
    const std::string prefix = "failed to convert '";
    const struct
    {
        const wchar_t* text;
        const wchar_t* date; // null: none
        bool warns;
    } cases[] = {
        {L"20231105120000.000000+060", L"2023-11-05 12:00:00", false},
        {L"20231105120000.999999-480", L"2023-11-05 12:00:00", false},
        {L"20231105120000.", L"2023-11-05 12:00:00", false},
        {L"20231105120000", nullptr, false},
        {L"20231105", nullptr, false},
        {L"", nullptr, false},
        {L"20231105120000.000000.+060", nullptr, false},
        {L"200611********.******+***", nullptr, true},
        {L"abc.def", nullptr, true},
        {L".000000+000", nullptr, true},
        {L"not-a-date-time.0", nullptr, true},
        {L"+infinity.0", nullptr, true},
        {L"00000000000000.000000+000", nullptr, true},
        {L"19691231235959.000000+000", nullptr, true}, // one second before what can be counted everywhere, in UTC
        {L"20231399000000.000000+000", nullptr, true},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.text));
        std::int64_t time = 7;
        read(*objectWith(each.text), L"P", time);
        if (each.date)
            EXPECT_EQ(ZelStdCore::timeToString(time, L"%Y-%m-%d %H:%M:%S"), each.date);
        else
            EXPECT_EQ(time, 0);
        EXPECT_EQ(takeLog().size(), each.warns ? 1 : 0);
    }
    EXPECT_EQ(getDateTime(*objectWith(Null{}), L"P"), 0);
    EXPECT_EQ(takeLog(), Lines{kNoText});
}

TEST_F(PropertiesTest, SizesAreDecimalTexts)
{
    const struct
    {
        const wchar_t* text;
        std::uint64_t number;
    } cases[] = {
        {L"", 0},
        {L"abc", 0},
        {L"512110190592", 512110190592},
        {L" \t42 GB", 42},
        {L"007", 7},
        {L"0x10", 0},
        {L"1,234", 1},
        {L"1.5", 1},
        {L"+5", 5},
        {L"18446744073709551615", UINT64_MAX},
        {L"18446744073709551616", UINT64_MAX},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.text));
        EXPECT_EQ(toUInt64(each.text), each.number);
        std::uint64_t field = 7;
        read(*objectWith(each.text), L"P", field);
        EXPECT_EQ(field, each.number);
    }
}
}
