#pragma once

#include "st-core/lib/DbgHelpWin.h"
#include "st-core/lib/StackTrace.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ZelStdCore
{
// The symbol at one address.
struct SymbolObject
{
    std::wstring name;
    std::uint64_t address = 0;      // start of the symbol
    std::uint64_t displacement = 0; // of the address asked for
    std::uint64_t moduleBase = 0;
    std::uint32_t size = 0;
};

// Walks call stacks and names their frames through dbghelp. Used by one thread and dropped, since dbghelp is not safe for
// concurrent use.
//
// dbghelp keeps one session per handle value and one set of options per process, and the host may use it as well: a tracer has
// a session on a handle of its own, and restores the options when it is dropped.
//
// Every failure is a RuntimeException without a trace. Frames without a symbol are no failure.
class Tracer
{
public:
    // The most frames of a walk, from the innermost: each one costs time, and a damaged stack may have no end.
    static constexpr std::size_t kMostFrames = 256;

    enum Option : std::uint32_t
    {
        symbolNames = 1, // resolve and undecorate symbol names
        sourceLines = 2, // resolve source file and line
        moduleInformation = 4,
        logModules = 8, // read each module's file version and log a line about it
        composeSearchPath = 16,
        symbolServer = 32 // end the composed path with the public symbol server
    };

    Tracer(std::uint32_t options, std::wstring searchPath, std::uint32_t processId, HANDLE process);
    Tracer(const Tracer&) = delete;
    Tracer& operator=(const Tracer&) = delete;

    // Begins the session and loads the symbols of the process's modules, once.
    void loadModules();

    // The stack of a thread, innermost frame first, from the given context or from where the thread is now. Another thread than
    // the caller's is suspended while its context is read. Leaves 0 as the thread's last OS error.
    std::vector<StackFrame> getTrace(HANDLE thread, const CONTEXT* context = nullptr);

    // The same, appended to the caller's frames: those before a failure are kept.
    void appendTrace(HANDLE thread, const CONTEXT* context, std::vector<StackFrame>& frames);

    // Loads the symbols of every module through PSAPI. False when the process lists no module.
    bool getModuleListPSAPI(HANDLE process);

    SymbolObject getObject(std::uint64_t address);

    // Receives the tracer's own lines: the modules loaded, and what could not be resolved. There is no receiver unless one is
    // installed for debugging the tracer: a line for each module at each failure is too much for the host's log.
    using LogReceiver = void (*)(const std::wstring& line);
    static void setLog(LogReceiver receiver);

private:
    void beginSession();
    bool loadFromSnapshot();
    std::uint32_t loadModule(const wchar_t* image, const wchar_t* name, std::uint64_t base, std::uint32_t size);
    void logModule(const wchar_t* image, const wchar_t* name, std::uint64_t base, std::uint32_t size, std::uint32_t result) const;
    void describe(StackFrame& frame, SYMBOL_INFOW& symbol) const;
    void describeSymbol(StackFrame& frame, SYMBOL_INFOW& symbol) const;
    void describeLine(StackFrame& frame) const;
    void describeModule(StackFrame& frame) const;
    void dropForeignSymbols(StackFrame& frame) const;

    std::uint32_t options_;
    std::wstring searchPath_;
    std::uint32_t processId_;
    HANDLE process_;
    std::unique_ptr<SymbolSession> session_;
    bool initialised_ = false;
};
}
