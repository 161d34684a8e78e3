#include "st-core/lib/OSError.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace ZelStdCore::Platform
{
int errorNumberText(int errorNumber, char* buffer, std::size_t size)
{
    return std::snprintf(buffer, size, "%s", ::strerror(errorNumber)) < 0 ? EINVAL : 0;
}
}
