#include "st-core/lib/LastError.h"

#include "st-core/lib/Utf8.h"

#include <array>
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
    std::array<char, 1024> buffer{};
    return widen(strerror_r(static_cast<int>(code), buffer.data(), buffer.size())); // GNU's: it need not use the buffer
}
}
