#pragma once

#include "st-core/lib/RuntimeException.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ZelStdCore
{
// Walks call stacks and names their frames through the platform's symbol engine. Used by one thread and dropped; the engine is
// not safe for concurrent use. Handles are opaque so that this header is portable.
class Tracer
{
public:
    enum Option : std::uint32_t
    {
        symbolNames = 1,      // resolve and undecorate symbol names
        sourceLines = 2,      // resolve source file and line
        moduleInformation = 4,
        logModules = 8,       // read each module's file version and log a line about it
        composeSearchPath = 16,
        symbolServer = 32     // end the composed path with the public symbol server
    };

    Tracer(std::uint32_t options, std::wstring searchPath, std::uint32_t processId, void* process);
    Tracer(const Tracer&) = delete;
    Tracer& operator=(const Tracer&) = delete;
    ~Tracer();

    // Options 15 and an empty search path on the current process, as every exception uses it.
    static std::vector<StackFrame> traceCurrentThread();

private:
    std::uint32_t options_;
    std::wstring searchPath_;
    std::uint32_t processId_;
    void* process_;
    bool initialised_ = false;
};
}
