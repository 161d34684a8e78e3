#include "st-core/lib/HostLogger.h"
#include "tests/fakes/FakeMachine.h"

#include <gtest/gtest.h>

using namespace ZelStdCore;
using fakes::LogCapture;

TEST(HostLogger, EachOperationHasItsLevelAndReachesTheHostAsUtf8)
{
    const LogCapture log;
    logInfo(L"used %1% instead", L"SMBIOS");
    logWarning(L"'%s' property of %d", L"\u00E4", 7);
    logError(L"plain");
    logTrace(L"%1%", std::wstring{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)});
    EXPECT_EQ(log.lines(), (LogCapture::Lines{{0, "used SMBIOS instead"},
                                              {1, "'\xC3\xA4' property of 7"},
                                              {2, "plain"},
                                              {3, "\xF0\x9F\x98\x80"}}));
}

TEST(HostLogger, FormatsNothingWithoutACallback)
{
    // A pattern with fewer placeholders than arguments cannot be filled: an attempt would throw.
    EXPECT_THROW(format(L"none", 1), std::exception);
    EXPECT_NO_THROW(logWarning(L"none", 1));
    HostLogger::instance().log(Severity::error, L"dropped");

    const LogCapture log;
    EXPECT_THROW(logWarning(L"none", 1), std::exception);
    HostLogger::instance().set(nullptr);
    logError(L"switched off");
    EXPECT_TRUE(log.lines().empty());
}

TEST(HostLogger, NamesSeverities)
{
    EXPECT_STREQ(severityName(Severity::info), L"info");
    EXPECT_STREQ(severityName(Severity::warning), L"warning");
    EXPECT_STREQ(severityName(Severity::error), L"error");
    EXPECT_STREQ(severityName(Severity::trace), L"trace");
    EXPECT_STREQ(severityName(Severity::counter), L"counter");
    EXPECT_STREQ(severityName(Severity::fatal), L"fatal");
    EXPECT_STREQ(severityName(static_cast<Severity>(6)), L"unknown");
    EXPECT_STREQ(severityName(static_cast<Severity>(0xFFFFFFFF)), L"unknown");
}
