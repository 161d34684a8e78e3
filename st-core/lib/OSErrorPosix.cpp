#include "st-core/lib/OSError.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace ZelStdCore::Platform
{
int errorNumberText(int errorNumber, char* buffer, std::size_t size)
{
    std::array<char, 1024> text{};
    return std::snprintf(buffer, size, "%s", strerror_r(errorNumber, text.data(), text.size())) < 0 ? EINVAL : 0;
}
}
