#include "st-core/lib/OSError.h"

#include <cstring>

namespace ZelStdCore::Platform
{
int errorNumberText(int errorNumber, char* buffer, std::size_t size)
{
    return strerror_s(buffer, size, errorNumber);
}
}
