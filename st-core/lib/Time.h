#pragma once

#include "st-core/lib/Result.h"

#include <cstdint>
#include <exception>
#include <string>

namespace ZelStdCore
{
// Seconds since 1970-01-01 00:00:00 UTC.
using CalendarTime = std::int64_t;

// Why a text is no time.
struct TimeFailure
{
    std::wstring message;
    std::exception_ptr cause; // what was raised meanwhile; null for text that does not fit
};

// Reads local time under a format of Boost.Date_Time's input facet ("%Y%m%d%H%M%S"); text behind what the format describes is
// ignored. For those who can do without the time: a failure is returned instead of thrown, and takes no stack trace.
Result<CalendarTime, TimeFailure> readTime(const std::wstring& text, const std::wstring& format);

// The same for those who cannot. Throws RuntimeException for text that does not fit, std::out_of_range for the date library's
// special values.
CalendarTime stringToTime(const std::wstring& text, const std::wstring& format);

// Writes local time under a strftime format. Throws RuntimeException when the result is empty or longer than 1,023 characters.
std::wstring timeToString(CalendarTime time, const std::wstring& format);
}
