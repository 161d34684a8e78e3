#include "st-core/lib/ThreadContextWin.h"

namespace ZelStdCore
{
bool isCallingThread(HANDLE thread)
{
    return thread == GetCurrentThread() || GetThreadId(thread) == GetCurrentThreadId();
}

// Allocates nothing: the suspended thread may hold the heap lock.
bool readContext(HANDLE thread, CONTEXT& context)
{
    if (SuspendThread(thread) == static_cast<DWORD>(-1))
        return false;
    context.ContextFlags = CONTEXT_FULL;
    const BOOL known = GetThreadContext(thread, &context);
    ResumeThread(thread);
    return known != FALSE;
}
}
