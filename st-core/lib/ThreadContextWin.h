#pragma once

#include <windows.h>

namespace ZelStdCore
{
bool isCallingThread(HANDLE thread);

// The context of a thread other than the caller's, which is suspended while it is read. False on failure.
bool readContext(HANDLE thread, CONTEXT& context);
}
