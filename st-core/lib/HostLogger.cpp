#include "st-core/lib/HostLogger.h"

namespace ZelStdCore
{
const wchar_t* severityName(Severity severity)
{
    switch (severity)
    {
    case Severity::info: return L"info";
    case Severity::warning: return L"warning";
    case Severity::error: return L"error";
    case Severity::trace: return L"trace";
    case Severity::counter: return L"counter";
    case Severity::fatal: return L"fatal";
    }
    return L"unknown";
}

HostLogger& HostLogger::instance()
{
    static auto& logger = *new HostLogger;
    return logger;
}

void HostLogger::log(Severity severity, std::wstring_view message) const
{
    if (!callback_)
        return;
    const std::string bytes = toUtf8(message);
    callback_(static_cast<std::uint32_t>(severity), bytes.c_str());
}
}
