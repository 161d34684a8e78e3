#include "machine/LogLines.h"

#include "machine/Answers.h"
#include "st-core/lib/HostLogger.h"

#include <utility>

namespace HardwareInventory
{
namespace
{
using ZelStdCore::HostLogger;

constexpr std::uint32_t kLastLevel = 3;

Json& lines()
{
    static Json kept = Json::array();
    return kept;
}

void keep(std::uint32_t level, const char* line)
{
    lines().push_back({level, line});
}
}

void LogLines::listen()
{
    HostLogger::instance().set(keep);
}

Json LogLines::take()
{
    return std::exchange(lines(), Json::array());
}

void LogLines::repeat(const Json& answer)
{
    if (!answer.is_object() || !answer.contains("log"))
        return;
    for (const Json& line : answer["log"])
        HostLogger::instance().log(static_cast<ZelStdCore::Severity>(line[0].get<std::uint32_t>()),
                                   Answers::read<std::wstring>(line[1]));
}

void LogLines::check(const Json& answer)
{
    if (!answer.is_object() || !answer.contains("log"))
        return;
    for (const Json& line : answer["log"])
        if (!line.is_array() || line.size() != 2 || Answers::read<std::uint32_t>(line[0]) > kLastLevel || !line[1].is_string())
            Answers::refuse("lines of a log");
}
}
