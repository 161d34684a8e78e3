#pragma once

#include "st-core/lib/HostLogger.h"

#include <string>
#include <utility>
#include <vector>

// The host's log, as (level, message) pairs, while an object of this type lives.
class LogCapture
{
public:
    using Lines = std::vector<std::pair<std::uint32_t, std::string>>;

    LogCapture()
    {
        clear();
        ZelStdCore::HostLogger::instance().set([](std::uint32_t level, const char* message) { kept.emplace_back(level, message); });
    }
    ~LogCapture() { ZelStdCore::HostLogger::instance().set(nullptr); }
    const Lines& lines() const { return kept; }
    void clear() { kept.clear(); }

private:
    static inline Lines kept;
};
