#pragma once

#include "st-core/lib/LastError.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/RuntimeException.h"

#include <cstdio>

// A tracer and a C library in place of the platform's. It defines them: for one source of a program.
namespace fakes
{
inline std::vector<ZelStdCore::StackFrame> stack; // as the tracer returns it
inline bool tracerFails = false;
}

std::vector<ZelStdCore::StackFrame> ZelStdCore::currentStack()
{
    Platform::setLastErrorCode(99);
    return fakes::tracerFails ? throw RuntimeException(L"", L"", L"", 0, Trace::none) : fakes::stack;
}

// No number below 0 has a text.
int ZelStdCore::Platform::errorNumberText(int errorNumber, char* buffer, std::size_t size)
{
    return errorNumber < 0 ? 22 : std::snprintf(buffer, size, "errno %d", errorNumber) * 0;
}
