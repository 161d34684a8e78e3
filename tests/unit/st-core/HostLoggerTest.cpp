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
    logTrace(L"%1%", L"traced");
    EXPECT_EQ(log.lines(),
              (LogCapture::Lines{{0, "used SMBIOS instead"}, {1, "'\xC3\xA4' property of 7"}, {2, "plain"}, {3, "traced"}}));
}

TEST(HostLogger, FormatsNothingWithoutACallback)
{
    // Formatting a pattern with fewer placeholders than arguments throws.
    EXPECT_NO_THROW(logWarning(L"none", 1));
    const LogCapture log;
    EXPECT_THROW(logWarning(L"none", 1), std::exception);
    HostLogger::instance().set(nullptr);
    logError(L"switched off");
    EXPECT_TRUE(log.lines().empty());
}

TEST(HostLogger, NamesSeverities)
{
    // The names of the others are tested with the log files.
    EXPECT_STREQ(severityName(Severity::trace), L"trace");
    EXPECT_STREQ(severityName(static_cast<Severity>(6)), L"unknown");
}
