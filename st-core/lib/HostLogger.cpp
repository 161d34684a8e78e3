#include "st-core/lib/HostLogger.h"

#include "st-core/lib/Utf8.h"

namespace ZelStdCore
{
const wchar_t* severityName(Severity severity)
{
    switch (severity)
    {
    case Severity::info:
        return L"info";
    case Severity::warning:
        return L"warning";
    case Severity::error:
        return L"error";
    case Severity::trace:
        return L"trace";
    case Severity::counter:
        return L"counter";
    case Severity::fatal:
        return L"fatal";
    }
    return L"unknown";
}

HostLogger& HostLogger::instance()
{
    static constinit HostLogger logger;
    return logger;
}

void HostLogger::log(Severity severity, std::wstring_view message) const
{
    // Read once: the host may clear the slot while the message is converted.
    const Callback callback = callback_;
    if (!callback)
        return;
    const std::string bytes = toUtf8(message);
    callback(static_cast<std::uint32_t>(severity), bytes.c_str());
}
}
