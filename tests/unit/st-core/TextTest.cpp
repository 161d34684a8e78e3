#include "st-core/lib/Text.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/Hexadecimal.h"
#include "st-core/lib/Utf8.h"

#include <gtest/gtest.h>

#include <limits>

using namespace ZelStdCore;
using namespace std::string_literals;

TEST(Text, Utf8AtTheBordersOfEveryLengthAndReplacements)
{
    const auto text = L"a\0\x7F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000 \U0010FFFF"s;
    const auto bytes = "a\0\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF\xF0\x90\x80\x80 \xF4\x8F\xBF\xBF"s;
    EXPECT_EQ(toUtf8(text), bytes);
    EXPECT_EQ(widen(bytes), text);
    const std::string r = "\xEF\xBF\xBD";
    EXPECT_EQ(toUtf8(std::wstring_view(L"\xD800\xDC00", 1)), r);
    EXPECT_EQ(toUtf8(L"\xD800\xDC00\xDBFF\xDFFF \xD83Dx x\xDE00 \xDE00\xD83D \xDC00\xDC00 \xD83D\xD83D\xDE00"),
              "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF " + r + "x x" + r + " " + r + r + " " + r + r + " " + r + "\xF0\x9F\x98\x80");
    if constexpr (sizeof(wchar_t) == 4)
        EXPECT_EQ(toUtf8(std::wstring(2, static_cast<wchar_t>(0x110000))), r + r);
}

TEST(Text, IllFormedUtf8IsDecodedAsLatin1AsAWhole)
{
    using namespace std::string_view_literals;
    for (const std::string_view bytes : {
             "\xC3\xA4"sv.substr(0, 1), "\xC3"sv, "\xE2\x82"sv, "\xF0\x9F\x98"sv,      // cut off
             "\x80"sv, "\xC3("sv, "\xE2\x82("sv, "\xC3\xC3"sv, "\xC4\x80 then \xFF"sv, // without lead, without continuation
             "\xC1\xBF"sv, "\xE0\x9F\xBF"sv, "\xF0\x8F\xBF\xBF"sv,                     // longer than needed
             "\xED\xA0\x80"sv, "\xED\xBF\xBF"sv,                                       // surrogates
             "\xF4\x90\x80\x80"sv, "\xF8\x88\x80\x80\x80"sv, "\xFE"sv,                 // beyond the last code point
         })
    {
        const std::vector<unsigned char> letters(bytes.begin(), bytes.end());
        EXPECT_EQ(widen(bytes), std::wstring(letters.begin(), letters.end()));
    }
}

TEST(Text, TrimsAndSplits)
{
    EXPECT_EQ(trim(L" \t\r\n\v\fa b \n"), L"a b");
    EXPECT_EQ(trim(L" \t "), L"");
    EXPECT_EQ(trim(L"'\"a' \"b\"'", L"'\""), L"a' \"b");
    using Pieces = std::vector<std::wstring_view>;
    EXPECT_EQ(split(L"", L","), Pieces{L""});
    EXPECT_EQ(split(L",a,,b,", L","), (Pieces{L"", L"a", L"", L"b", L""}));
    EXPECT_EQ(split(L"a--b---c", L"--"), (Pieces{L"a", L"b", L"-c"}));
    EXPECT_EQ(split(L"abc", L""), Pieces{L"abc"});
}

TEST(Text, HexadecimalHasTheOutcomeOf32Bits)
{
    std::wstring outcomes; // value and error: 1 for a text without digits, 2 for one beyond 32 bits
    for (const wchar_t* text :
         {L"0", L"aBcDeF09", L"0x80ce", L"0X3468", L"00000000000000000012", L"0xFFFFFFFF", L"12G4", L"0xg", L"0x", L"100000000",
          L"1000000000000000000000000g", L"", L"x1", L" 1", L"-1", L"\uFF11"}) // the last one is a full-width digit
        for (const auto& [value, error] : {parseHexadecimal(text), parseHexadecimal(toUtf8(text))})
            outcomes += format(L"%x/%d ", value, static_cast<int>(error));
    EXPECT_EQ(outcomes, L"0/0 0/0 abcdef09/0 abcdef09/0 80ce/0 80ce/0 3468/0 3468/0 12/0 12/0 ffffffff/0 ffffffff/0 12/0 12/0 "
                        L"0/0 0/0 0/0 0/0 0/2 0/2 0/2 0/2 0/1 0/1 0/1 0/1 0/1 0/1 0/1 0/1 0/1 0/1 ");
}

TEST(Format, FillsBothStylesOfPlaceholdersWithEveryKindOfArgument)
{
    EXPECT_EQ(format(L"100%% of %2%, %1%, %2%", L"%2% %s", 2), L"100% of 2, %2% %s, 2");
    EXPECT_EQ(format(L"'%s' %d %x", L"text", -5, 0x800u), L"'text' -5 800");
    EXPECT_EQ(format(L"%04X:%04X %04x:%02x:%02x.%01x", 0x10DEu, 0xFu, 0xABu, 1u, 0x1Fu, 7u), L"10DE:000F 00ab:01:1f.7");
    EXPECT_EQ(format(L"%1% %2%", std::numeric_limits<std::uint64_t>::max(), std::numeric_limits<std::int64_t>::min()),
              L"18446744073709551615 -9223372036854775808");
    EXPECT_EQ(format(L"%1% %2% %3%", std::int8_t{-1}, std::uint8_t{65}, std::uint16_t{65535}), L"-1 65 65535");
    EXPECT_EQ(format(L"%1%|%2%|%3%", "narrow \xC3\xA4", std::string("std"), std::wstring(L"wide")), L"narrow \u00E4|std|wide");
    EXPECT_EQ(format(L"%1%%2%", static_cast<const wchar_t*>(nullptr), static_cast<const char*>(nullptr)), L"");
    EXPECT_EQ(parseHexadecimal(format(L"%p", reinterpret_cast<const void*>(std::uintptr_t{0xABC0}))).value, 0xABC0u);
}
