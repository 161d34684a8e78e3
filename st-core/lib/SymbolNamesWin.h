#pragma once

#include <cstdint>
#include <string>

namespace ZelStdCore
{
struct DbgHelp;

struct UndecoratedName
{
    bool known = false; // false: dbghelp failed, and the last OS error is the reason
    std::wstring text;
};

// The name without its parameters and the like, and in full.
UndecoratedName shortSymbolName(const DbgHelp& dbghelp, const std::wstring& name);
UndecoratedName completeSymbolName(const DbgHelp& dbghelp, const std::wstring& name);

// The name of a SYM_TYPE; "-unknown-" for a type without one.
const wchar_t* symbolTypeName(std::uint32_t type);
}
