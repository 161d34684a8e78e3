#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ZelStdCore
{
// One walked frame of a call stack. Texts are empty and numbers 0 where the symbol engine cannot tell them.
struct StackFrame
{
    std::uint64_t address = 0;
    std::wstring symbolName;   // as the symbol engine returns it
    std::wstring shortName;    // undecorated name only
    std::wstring completeName; // completely undecorated
    std::uint64_t symbolDisplacement = 0;
    std::uint32_t lineDisplacement = 0;
    std::uint32_t lineNumber = 0;
    std::wstring fileName;
    std::uint64_t moduleBase = 0;
    std::wstring symbolType;
    std::wstring moduleName;
    std::wstring imageName;
};

// The frames as text, one "[displacement] file:function:line" a line. At the start-up code of the run time ("invoke_main")
// the stack is over: that frame and all behind it are left out.
std::wstring renderFrames(const std::vector<StackFrame>& frames);

// Drops "invoke_main" and every frame behind it.
void dropStartupFrames(std::vector<StackFrame>& frames);

// Whether a failure takes the stack of its thrower along. One that is caught and only logged captures none: a trace costs a whole
// session of the symbol handler.
enum class Trace
{
    none,
    capture
};

// The frames that every trace leaves out: the constructor's and the thrower's, or those of both constructors of a derived
// exception.
constexpr std::uint32_t kThrowSiteFrames = 2;

// For the functions whose frames are left out by count. Inlined, by a link-time optimiser too, such a function has no frame, and
// one that matters would go instead.
#if defined(_MSC_VER)
#define ST_CORE_OWN_FRAME __declspec(noinline)
#else
#define ST_CORE_OWN_FRAME __attribute__((noinline))
#endif

// A failure with the place where it was raised and the stack of the throwing thread. Deliberately no std::exception: the
// boundary tells the two apart.
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
