#pragma once

#include "st-core/lib/HostLogger.h"

#include <string>
#include <vector>

// The host's log, as (level, message) pairs, while an object of this type lives.
struct LogCapture
{
    using Lines = std::vector<std::pair<std::uint32_t, std::string>>;

    LogCapture()
    {
        clear();
        ZelStdCore::HostLogger::instance().set([](std::uint32_t level, const char* message) { kept.emplace_back(level, message); });
    }
    ~LogCapture() { ZelStdCore::HostLogger::instance().set(nullptr); }
    const Lines& lines() const { return kept; }
    void clear() { kept.clear(); }

    static inline Lines kept;
};
