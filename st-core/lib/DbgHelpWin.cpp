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
    DbgHelp engine{};
    const bool complete =
        library && findFunction(library, "SymGetOptions", engine.getOptions) &&
        findFunction(library, "SymSetOptions", engine.setOptions) && findFunction(library, "SymInitializeW", engine.initialize) &&
        findFunction(library, "SymCleanup", engine.cleanUp) && findFunction(library, "SymLoadModuleExW", engine.loadModule) &&
        findFunction(library, "SymGetModuleInfoW64", engine.moduleInformation) &&
        findFunction(library, "SymFromAddrW", engine.symbolAt) && findFunction(library, "SymGetLineFromAddrW64", engine.lineAt) &&
        findFunction(library, "UnDecorateSymbolNameW", engine.undecorate) &&
        findFunction(library, "StackWalk64", engine.walkStack) &&
        findFunction(library, "SymFunctionTableAccess64", engine.functionTable) &&
        findFunction(library, "SymGetModuleBase64", engine.moduleBase);
    return complete ? std::optional(engine) : std::nullopt;
}
}

const DbgHelp* DbgHelp::instance()
{
    static std::optional<DbgHelp> engine = load(); // not const: a test puts failing functions in
    return engine ? &*engine : nullptr;
}

SymbolSession::SymbolSession(const DbgHelp& engine, HANDLE process, const std::wstring& searchPath, std::uint32_t options)
    : engine_(engine), optionsBefore_(engine.getOptions())
{
    HANDLE duplicate = nullptr;
    if (!DuplicateHandle(GetCurrentProcess(), process, GetCurrentProcess(), &duplicate, 0, FALSE, DUPLICATE_SAME_ACCESS))
        return;
    handle_.reset(duplicate);
    engine_.setOptions(options);
    // A failure is met again, and told, where the modules are loaded. A null path would mean the engine's own default.
    engine_.initialize(handle(), searchPath.c_str(), TRUE);
}

SymbolSession::~SymbolSession()
{
    if (!handle_)
        return;
    engine_.cleanUp(handle());
    engine_.setOptions(optionsBefore_);
}

std::uint32_t SymbolSession::load(const wchar_t* image, const wchar_t* name, std::uint64_t base, std::uint32_t size) const
{
    if (engine_.moduleBase(handle(), base) == base)
        return ERROR_SUCCESS;
    SetLastError(ERROR_SUCCESS);
    return engine_.loadModule(handle(), nullptr, image, name, base, size, nullptr, 0) == 0 ? GetLastError() : ERROR_SUCCESS;
}
}
