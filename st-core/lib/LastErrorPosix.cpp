#include "st-core/lib/LastError.h"

#include "st-core/lib/Utf8.h"

#include <cerrno>
#include <cstring>

namespace ZelStdCore::Platform
{
std::uint32_t lastErrorCode()
{
    return static_cast<std::uint32_t>(errno);
}

void setLastErrorCode(std::uint32_t code)
{
    errno = static_cast<int>(code);
}

std::wstring systemMessage(std::uint32_t code)
{
    return widen(::strerror(static_cast<int>(code)));
}
}
