#include "st-core/lib/DbgHelpWin.h"

#include "st-core/lib/SystemLibraryWin.h"

#include <optional>

namespace ZelStdCore
{
namespace
{
std::optional<DbgHelp> load()
{
    const HMODULE library = loadSystemLibrary(L"dbghelp.dll");
    DbgHelp functions{};
    const bool complete = library && findFunction(library, "SymGetOptions", functions.getOptions) &&
                          findFunction(library, "SymSetOptions", functions.setOptions) &&
                          findFunction(library, "SymInitializeW", functions.initialize) &&
                          findFunction(library, "SymCleanup", functions.cleanUp) &&
                          findFunction(library, "SymLoadModuleExW", functions.loadModule) &&
                          findFunction(library, "SymGetModuleInfoW64", functions.moduleInformation) &&
                          findFunction(library, "SymFromAddrW", functions.symbolAt) &&
                          findFunction(library, "SymGetLineFromAddrW64", functions.lineAt) &&
                          findFunction(library, "UnDecorateSymbolNameW", functions.undecorate) &&
                          findFunction(library, "StackWalk64", functions.walkStack) &&
                          findFunction(library, "SymFunctionTableAccess64", functions.functionTable) &&
                          findFunction(library, "SymGetModuleBase64", functions.moduleBase);
    return complete ? std::optional(functions) : std::nullopt;
}
}

const DbgHelp* DbgHelp::instance()
{
    static std::optional<DbgHelp> functions = load(); // not const: a test puts failing functions in
    return functions ? &*functions : nullptr;
}

SymbolSession::SymbolSession(const DbgHelp& dbghelp, HANDLE process, const std::wstring& searchPath, std::uint32_t options)
    : dbghelp_(dbghelp), optionsBefore_(dbghelp.getOptions())
{
    HANDLE duplicate = nullptr;
    if (!DuplicateHandle(GetCurrentProcess(), process, GetCurrentProcess(), &duplicate, 0, FALSE, DUPLICATE_SAME_ACCESS))
        return;
    handle_.reset(duplicate);
    dbghelp_.setOptions(options);
    // Unchecked: if this fails, so does every later call on the session, and the trace is cut short or has no names. A null path
    // would mean dbghelp's own default.
    dbghelp_.initialize(handle(), searchPath.c_str(), TRUE);
}

SymbolSession::~SymbolSession()
{
    if (!handle_)
        return;
    dbghelp_.cleanUp(handle());
    dbghelp_.setOptions(optionsBefore_);
}

std::uint32_t SymbolSession::load(const wchar_t* image, const wchar_t* name, std::uint64_t base, std::uint32_t size) const
{
    if (dbghelp_.moduleBase(handle(), base) == base)
        return ERROR_SUCCESS;
    SetLastError(ERROR_SUCCESS);
    return dbghelp_.loadModule(handle(), nullptr, image, name, base, size, nullptr, 0) == 0 ? GetLastError() : ERROR_SUCCESS;
}
}
