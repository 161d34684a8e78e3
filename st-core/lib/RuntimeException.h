#pragma once

#include "st-core/lib/StackTrace.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ZelStdCore
{
// Whether a failure captures the stack of its thrower. One that is caught and only logged captures none: a trace costs a whole
// session of the symbol handler.
enum class Trace
{
    none,
    capture
};

// The frames that every trace leaves out: the constructor's and the thrower's, or those of both constructors of a derived
// exception.
constexpr std::uint32_t kThrowSiteFrames = 2;

// A failure with the place where it was raised and the stack of the throwing thread. Deliberately no std::exception: the
// exported functions report the two differently.
class RuntimeException
{
public:
    // Trace::capture walks the stack of this thread, the innermost skipFrames frames left out. A failing tracer cuts the trace
    // short; it never replaces the failure being reported.
    ST_CORE_OWN_FRAME
    RuntimeException(std::wstring message, std::wstring file, std::wstring function, std::int32_t line,
                     Trace trace = Trace::capture, std::uint32_t skipFrames = kThrowSiteFrames);

    const std::wstring& message() const { return message_; }
    const std::wstring& file() const { return file_; }
    const std::wstring& function() const { return function_; }
    std::int32_t line() const { return line_; }
    const std::vector<StackFrame>& frames() const { return frames_; }
    const std::wstring& trace() const { return trace_; }

private:
    std::wstring message_;
    std::wstring file_;
    std::wstring function_;
    std::int32_t line_;
    std::vector<StackFrame> frames_;
    std::wstring trace_;
};
}
