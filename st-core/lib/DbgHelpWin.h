#pragma once

#include "st-core/lib/Unique.h"

#include <cstdint>
#include <string>

#include <windows.h>

#include <dbghelp.h>

namespace ZelStdCore
{
// The functions of dbghelp. The library is loaded from the system folder at first use and stays loaded.
struct DbgHelp
{
    decltype(&::SymGetOptions) getOptions;
    decltype(&::SymSetOptions) setOptions;
    decltype(&::SymInitializeW) initialize;
    decltype(&::SymCleanup) cleanUp;
    decltype(&::SymLoadModuleExW) loadModule;
    decltype(&::SymGetModuleInfoW64) moduleInformation;
    decltype(&::SymFromAddrW) symbolAt;
    decltype(&::SymGetLineFromAddrW64) lineAt;
    decltype(&::UnDecorateSymbolNameW) undecorate;
    decltype(&::StackWalk64) walkStack;
    decltype(&::SymFunctionTableAccess64) functionTable;
    decltype(&::SymGetModuleBase64) moduleBase;

    // Null when dbghelp or one of the functions is missing; the last OS error is the reason.
    static const DbgHelp* instance();
};

// One session of the symbol handler on a process. dbghelp identifies sessions by the value of the process handle, and the host may
// have one under the handle given: this one has a duplicate. dbghelp's options, which are per process, are restored at the end.
class SymbolSession
{
public:
    SymbolSession(const DbgHelp& dbghelp, HANDLE process, const std::wstring& searchPath, std::uint32_t options);
    SymbolSession(const SymbolSession&) = delete;
    SymbolSession& operator=(const SymbolSession&) = delete;
    ~SymbolSession();

    const DbgHelp& dbghelp() const { return dbghelp_; }

    // Null when the process's handle could not be duplicated; the last OS error is the reason.
    HANDLE handle() const { return handle_.get(); }

    // Loads the symbols of a module. Returns the OS error number: 0 as well for a module that is loaded already.
    std::uint32_t load(const wchar_t* image, const wchar_t* name, std::uint64_t base, std::uint32_t size) const;

private:
    const DbgHelp& dbghelp_;
    Unique<HANDLE, CloseHandle> handle_;
    std::uint32_t optionsBefore_;
};
}
