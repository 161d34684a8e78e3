#pragma once

#include "st-core/lib/StackTrace.h"

#include <functional>
#include <string>
#include <vector>

// The system behind core support, in place of the platform's files.
namespace fakes
{
struct FakeCore
{
    std::uint32_t lastError = 0;
    std::vector<ZelStdCore::StackFrame> stack; // as the tracer returns it

    // Every call passes here with its name; true makes it fail.
    std::function<bool(const char* operation)> fails = [](const char*) { return false; };
    std::vector<std::string> calls; // the operations, in order
};

FakeCore& machine();
}
