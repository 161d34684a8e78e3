#include "st-core/lib/Text.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/Hexadecimal.h"
#include "st-core/lib/Utf8.h"

#include <gtest/gtest.h>

#include <limits>
#include <locale>

using namespace ZelStdCore;

TEST(Text, Utf8AtTheBordersOfEveryLength)
{
    const std::pair<std::wstring, std::string> cases[] = {
        {L"\x7F\u0080\u07FF\u0800", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80"},
        {L"\uD7FF\uE000\uFFFF", "\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"},
        {L"\U00010000 \U0010FFFF", "\xF0\x90\x80\x80 \xF4\x8F\xBF\xBF"},
        {std::wstring(L"a\0b", 3), std::string("a\0b", 3)},
    };
    for (const auto& [text, bytes] : cases)
    {
        EXPECT_EQ(toUtf8(text), bytes);
        EXPECT_EQ(widen(bytes), text);
    }
}

TEST(Text, IllFormedWideTextBecomesReplacements)
{
    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(toUtf8(L"\xD800\xDC00\xDBFF\xDFFF"), "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
    EXPECT_EQ(toUtf8(std::wstring_view(L"\xD800\xDC00").substr(0, 1)), replacement);
    EXPECT_EQ(toUtf8(L"\xD83Dx"), replacement + "x");
    EXPECT_EQ(toUtf8(L"\xDE00\xD83D"), replacement + replacement);
    EXPECT_EQ(toUtf8(L"\xD83D\xD83D\xDE00"), replacement + "\xF0\x9F\x98\x80");
    if constexpr (sizeof(wchar_t) == 4)
        EXPECT_EQ(toUtf8(std::wstring(2, static_cast<wchar_t>(0x110000))), replacement + replacement);
}

TEST(Text, IllFormedUtf8IsDecodedAsLatin1AsAWhole)
{
    for (const std::string_view bytes : {
             "\xC4\x80 then \xFF",                               // the valid part is not decoded separately
             "\x80",                                             // continuation without lead
             "\xC3", "\xE2\x82", "\xF0\x9F\x98",                 // cut off
             "\xC3(", "\xE2\x82(", "\xC3\xC3",                   // continuation missing
             "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF",     // longer than needed
             "\xED\xA0\x80", "\xED\xBF\xBF",                     // surrogates
             "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFE", // beyond the last code point
         })
    {
        std::wstring expected;
        for (const unsigned char byte : bytes)
            expected += byte;
        EXPECT_EQ(widen(bytes), expected);
    }
    // Cut off by the end of the view, not of the string.
    EXPECT_EQ(widen(std::string_view("\xC3\xA4").substr(0, 1)), L"\u00C3");
}

TEST(Text, TrimsBothEnds)
{
    EXPECT_EQ(trim(L" \t\r\n\v\fa b \n"), L"a b");
    EXPECT_EQ(trim(L" \t "), L"");
    EXPECT_EQ(trim(L"'\"a' \"b\"'", L"'\""), L"a' \"b");
    EXPECT_EQ(trim(L" a ", L""), L" a ");
}

TEST(Text, SplitsIntoOnePieceMoreThanThereAreSeparators)
{
    using Pieces = std::vector<std::wstring_view>;
    EXPECT_EQ(split(L"", L","), Pieces{L""});
    EXPECT_EQ(split(L",a,,b,", L","), (Pieces{L"", L"a", L"", L"b", L""}));
    EXPECT_EQ(split(L"a--b---c", L"--"), (Pieces{L"a", L"b", L"-c"}));
    EXPECT_EQ(split(L"abc", L""), Pieces{L"abc"});
}

TEST(Text, HexadecimalHasTheOutcomeOf32Bits)
{
    const struct
    {
        std::wstring text;
        std::uint32_t value;
        HexadecimalError error = HexadecimalError::none;
    } cases[] = {
        {L"0", 0},
        {L"aBcDeF09", 0xABCDEF09},
        {L"0x80ce", 0x80CE},
        {L"0X3468", 0x3468},
        {L"00000000000000000012", 0x12},
        {L"0xFFFFFFFF", 0xFFFFFFFF},
        {L"12G4", 0x12}, // the prefix counts
        {L"0xg", 0},     // the 0 counts, the x does not
        {L"0x", 0},
        {L"100000000", 0, HexadecimalError::outOfRange},
        {L"1000000000000000000000000g", 0, HexadecimalError::outOfRange},
        {L"", 0, HexadecimalError::noDigits},
        {L"x1", 0, HexadecimalError::noDigits},
        {L" 1", 0, HexadecimalError::noDigits},
        {L"-1", 0, HexadecimalError::noDigits},
        {L"\uFF11", 0, HexadecimalError::noDigits}, // a full-width digit
    };
    for (const auto& [text, value, error] : cases)
    {
        SCOPED_TRACE(toUtf8(text));
        for (const Hexadecimal parsed : {parseHexadecimal(text), parseHexadecimal(toUtf8(text))})
        {
            EXPECT_EQ(parsed.error, error);
            EXPECT_EQ(parsed.value, value);
        }
    }
}

TEST(Format, FillsBothStylesOfPlaceholders)
{
    EXPECT_EQ(format(L"nothing to fill"), L"nothing to fill");
    EXPECT_EQ(format(L"%2%, %1%, %2%", L"first", 2), L"2, first, 2");
    EXPECT_EQ(format(L"'%s' %d %x", L"text", -5, 0x800u), L"'text' -5 800");
    EXPECT_EQ(format(L"%04X:%04X %04x:%02x:%02x.%01x", 0x10DEu, 0xFu, 0xABu, 1u, 0x1Fu, 7u), L"10DE:000F 00ab:01:1f.7");
    EXPECT_EQ(format(L"100%% of %1%", L"it"), L"100% of it");
}

TEST(Format, KeepsEveryKindOfArgumentWhole)
{
    EXPECT_EQ(format(L"%1% %2%", std::numeric_limits<std::uint64_t>::max(), std::numeric_limits<std::int64_t>::min()),
              L"18446744073709551615 -9223372036854775808");
    EXPECT_EQ(format(L"%1% %2% %3%", std::int8_t{-1}, std::uint8_t{65}, std::uint16_t{65535}), L"-1 65 65535");
    EXPECT_EQ(format(L"%1%|%2%|%3%", "narrow \xC3\xA4", std::string("std"), std::wstring(L"wide")), L"narrow \u00E4|std|wide");
    EXPECT_EQ(format(L"%1%%2%", static_cast<const wchar_t*>(nullptr), static_cast<const char*>(nullptr)), L"");
    // Placeholders in arguments are not filled.
    EXPECT_EQ(format(L"%1%: %2%", L"%2% %s", L"50%"), L"%2% %s: 50%");
    struct Grouping : std::numpunct<wchar_t>
    {
        wchar_t do_thousands_sep() const override { return L'.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::locale::global(std::locale(std::locale::classic(), new Grouping));
    EXPECT_EQ(format(L"%1%", 1234567), L"1234567");
    std::locale::global(std::locale::classic());
    const std::wstring address = format(L"%p", reinterpret_cast<const void*>(std::uintptr_t{0xABC0}));
    EXPECT_EQ(parseHexadecimal(address).value, 0xABC0u);
}
