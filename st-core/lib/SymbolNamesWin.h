#pragma once

#include <cstdint>
#include <string>

namespace ZelStdCore
{
struct DbgHelp;

struct UndecoratedName
{
    bool known = false; // false: the engine failed, and the last OS error tells why
    std::wstring text;
};

// The name without its parameters and the like, and in full.
UndecoratedName shortSymbolName(const DbgHelp& engine, const std::wstring& name);
UndecoratedName completeSymbolName(const DbgHelp& engine, const std::wstring& name);

// The name of a SYM_TYPE; "-unknown-" for a type without one.
const wchar_t* symbolTypeName(std::uint32_t type);
}
