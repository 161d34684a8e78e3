#include "st-core/lib/StackTrace.h"

namespace ZelStdCore
{
// The frames are for the hosts of the Windows library. The programs that run here print the message alone.
std::vector<StackFrame> currentStack()
{
    return {};
}
}
