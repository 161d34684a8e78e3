#pragma once

#include <cstdint>
#include <string>
#include <vector>

// For the functions whose frames are left out by count. Inlined, by a link-time optimiser too, such a function has no frame, and
// one that matters would go instead.
#if defined(_MSC_VER)
#define ST_CORE_OWN_FRAME __declspec(noinline)
#else
#define ST_CORE_OWN_FRAME __attribute__((noinline))
#endif

namespace ZelStdCore
{
// One walked frame of a call stack. Texts are empty and numbers 0 where dbghelp has no information.
struct StackFrame
{
    std::uint64_t address = 0;
    std::wstring symbolName;   // as dbghelp returns it
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

// The stack of this thread, beginning with the function that calls this one. A failure ends the walk; the frames before it are
// returned. Implemented by the tracer on Windows and by the tests.
ST_CORE_OWN_FRAME std::vector<StackFrame> currentStack();

// The frames as text, one "[displacement] file:function:line" a line. The start-up code of the runtime ("invoke_main") ends it:
// that frame and all after it are left out.
std::wstring renderFrames(const std::vector<StackFrame>& frames);

// Drops "invoke_main" and every frame after it.
void dropStartupFrames(std::vector<StackFrame>& frames);
}
