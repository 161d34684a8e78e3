#pragma once

#include <windows.h>

namespace ZelStdCore
{
bool isCallingThread(HANDLE thread);

// Where a thread other than the caller's is now. It is suspended while its context is read. False when it cannot be had.
bool readContext(HANDLE thread, CONTEXT& context);
}
