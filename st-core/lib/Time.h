#pragma once

#include "st-core/lib/Result.h"

#include <cstdint>
#include <exception>
#include <string>

namespace ZelStdCore
{
// Seconds since 1970-01-01 00:00:00 UTC.
using CalendarTime = std::int64_t;

// Why a text could not be read as a time.
struct TimeFailure
{
    std::wstring message;
    std::exception_ptr cause; // the exception caught meanwhile; null for text that does not fit the format
};

// Reads local time under a format of Boost.Date_Time's input facet ("%Y%m%d%H%M%S"); text after what the format describes is
// ignored. For callers that can do without the time: a failure is returned instead of thrown and captures no stack trace.
Result<CalendarTime, TimeFailure> readTime(const std::wstring& text, const std::wstring& format);

// The same for callers that cannot. Throws RuntimeException for text that does not fit the format, std::out_of_range for
// Boost.Date_Time's special values.
CalendarTime stringToTime(const std::wstring& text, const std::wstring& format);

// Writes local time under a strftime format. Throws RuntimeException when the result is empty or longer than 1,023 characters.
std::wstring timeToString(CalendarTime time, const std::wstring& format);
}
