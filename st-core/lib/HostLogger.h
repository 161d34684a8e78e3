#pragma once

#include "st-core/lib/Format.h"

#include <cstdint>
#include <string_view>

namespace ZelStdCore
{
// Levels 0 to 3 reach the host; "counter" and "fatal" exist for file logging only.
enum class Severity : std::uint32_t
{
    info,
    warning,
    error,
    trace,
    counter,
    fatal
};

// The lower-case name of a severity; "unknown" for a value outside the enumeration.
const wchar_t* severityName(Severity severity);

// The process-wide slot for the host's logging callback. Not synchronised: the host serialises its calls into the library.
class HostLogger
{
public:
    using Callback = void (*)(std::uint32_t level, const char* message);

    // The same object for the life of the process.
    static HostLogger& instance();

    // Replaces the callback; null switches host logging off.
    void set(Callback callback) { callback_ = callback; }
    Callback callback() const { return callback_; }
    bool enabled() const { return callback_ != nullptr; }

    // Passes the message to the callback as UTF-8, valid only during the call. Without a callback it is dropped.
    void log(Severity severity, std::wstring_view message) const;

private:
    Callback callback_ = nullptr;
};

// Formats and logs the message. Without a callback nothing is formatted.
template <class... Arguments>
void logMessage(Severity severity, const wchar_t* pattern, const Arguments&... arguments)
{
    const HostLogger& logger = HostLogger::instance();
    if (logger.enabled())
        logger.log(severity, format(pattern, arguments...));
}

template <class... Arguments>
void logInfo(const wchar_t* pattern, const Arguments&... arguments)
{
    logMessage(Severity::info, pattern, arguments...);
}

template <class... Arguments>
void logWarning(const wchar_t* pattern, const Arguments&... arguments)
{
    logMessage(Severity::warning, pattern, arguments...);
}

template <class... Arguments>
void logError(const wchar_t* pattern, const Arguments&... arguments)
{
    logMessage(Severity::error, pattern, arguments...);
}

template <class... Arguments>
void logTrace(const wchar_t* pattern, const Arguments&... arguments)
{
    logMessage(Severity::trace, pattern, arguments...);
}
}
