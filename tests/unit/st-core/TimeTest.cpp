#include "st-core/lib/Time.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/RuntimeException.h"
#include "st-core/lib/Utf8.h"
#include "tests/fakes/FakeMachine.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <stdexcept>

using namespace ZelStdCore;

namespace
{
const std::wstring kWmiFormat = L"%Y%m%d%H%M%S";

void setZone(const std::string& zone)
{
#ifdef _WIN32
    _putenv_s("TZ", zone.c_str());
    _tzset();
#else
    setenv("TZ", zone.c_str(), 1);
    tzset();
#endif
}

template <class Call>
std::wstring failureOf(const wchar_t* function, Call call)
{
    try
    {
        call();
        return L"no exception";
    }
    catch (const RuntimeException& error)
    {
        EXPECT_EQ(error.function(), function);
        EXPECT_EQ(error.file(), L"st-core\\lib\\Time.cpp");
        EXPECT_FALSE(error.trace().empty());
        return error.message();
    }
}
}

TEST(Time, ReadsLocalTime)
{
    const struct
    {
        const char* zone;
        const wchar_t* text;
        CalendarTime time;
        std::wstring format = kWmiFormat;
    } cases[] = {
        {"UTC", L"20210304101112.000000+060", 1614852672}, // fraction and offset are not examined
        {"UTC", L"202103041011", 1614852660},              // missing fields are the least possible
        {"UTC", L"2021", 1609459200},
        {"UTC", L"20240229235959", 1709251199},
        {"UTC", L"20380119031408", 2147483648},
        {"EST5EDT", L"20210304101112.000000+060", 1614870672},
        {"EST5EDT", L"20210704101112.000000+060", 1625407872}, // daylight saving time
        {"UTC", L"03/04/2021 10:11:12", 1614852672, L"%m/%d/%Y %H:%M:%S"},
        {"UTC", L"Thu 04 Mar 2021", 1614816000, L"%a %d %b %Y"},
        {"UTC", L"Thursday, December 30 1999", 946512000, L"%A, %B %d %Y"},
    };
    for (const auto& [zone, text, time, format] : cases)
    {
        setZone(zone);
        EXPECT_EQ(stringToTime(text, format), time) << zone << " " << toUtf8(text);
    }
}

TEST(Time, ReportsWhatItCouldNotRead)
{
    fakes::machine().stack.resize(3);
    for (const wchar_t* text :
         {L"abc", L"", L"20211304101112", L"20210230101112", L"2021-03-04 10:11:12", L"00000000000000.000000+000"})
        EXPECT_EQ(failureOf(L"ZelStdCore::stringToTime",
                            [text]
                            {
                                errno = 33;
                                stringToTime(text, kWmiFormat);
                            }),
                  format(L"failed to convert '%1%' to time using '%%Y%%m%%d%%H%%M%%S' format: errno 33", text));
}

TEST(Time, ASpecialValueIsOutOfRange)
{
    try
    {
        stringToTime(L"+infinity", kWmiFormat);
        FAIL() << "no exception";
    }
    catch (const std::out_of_range& error)
    {
        EXPECT_STREQ(error.what(), "tm unable to handle +infinity date value");
    }
}

TEST(Time, WritesLocalTime)
{
    const struct
    {
        const char* zone;
        CalendarTime time;
        const wchar_t* format;
        std::wstring text;
    } cases[] = {
        {"UTC", 0, L"%m/%d/%Y %H:%M:%S", L"01/01/1970 00:00:00"},
        {"UTC", 4102444800, L"%m/%d/%Y \u00E4", L"01/01/2100 \u00E4"},
        {"EST5EDT", 1614870672, L"%m/%d/%Y %H:%M:%S", L"03/04/2021 10:11:12"},
        {"EST5EDT", 1625407872, L"%m/%d/%Y %H:%M:%S", L"07/04/2021 10:11:12"},
    };
    for (const auto& [zone, time, format, text] : cases)
    {
        setZone(zone);
        EXPECT_EQ(timeToString(time, format), text) << zone << " " << time;
    }
}

TEST(Time, ReportsWhatItCouldNotWrite)
{
    fakes::machine().stack.resize(3);
    const std::wstring longest(1023, L'x');
    EXPECT_EQ(timeToString(0, longest), longest);

    const std::pair<CalendarTime, std::wstring> cases[] = {
        {86400, L""}, {5, longest + L"x"}, {7, longest + L"%Y"}, {std::numeric_limits<CalendarTime>::max(), L"%Y"}};
    for (const auto& [time, pattern] : cases)
    {
        const std::wstring message = failureOf(L"ZelStdCore::timeToString", [&] { timeToString(time, pattern); });
        EXPECT_TRUE(message.starts_with(format(L"failed to convert %1% to time (format = %2%): errno ", time, pattern)))
            << time << ": " << toUtf8(message);
    }
}
