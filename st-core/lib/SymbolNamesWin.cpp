#include "st-core/lib/SymbolNamesWin.h"

#include "st-core/lib/DbgHelpWin.h"
#include "st-core/lib/Utf8.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#if defined(__GNUC__)
#include <cxxabi.h>
#endif

namespace ZelStdCore
{
namespace
{
// By SYM_TYPE.
constexpr auto kSymbolTypeNames = std::to_array<const wchar_t*>({
    L"-nosymbols-",
    L"COFF",
    L"CV",
    L"PDB",
    L"-exported-",
    L"-deferred-",
    L"SYM",
    L"DIA",
    L"Virtual",
});
static_assert(kSymbolTypeNames.size() == SymVirtual + 1);

constexpr std::size_t kLongestUndecoratedName = 16384;

// dbghelp undecorates the names of one compiler. Names of the common C++ ABI reach it from export tables and from symbols in the
// other compilers' format, and it returns them unchanged.
std::wstring demangle(const std::wstring& name)
{
#if defined(__GNUC__)
    struct Free
    {
        void operator()(char* text) const { std::free(text); }
    };
    int status = 0;
    const std::unique_ptr<char, Free> text(abi::__cxa_demangle(toUtf8(name).c_str(), nullptr, nullptr, &status));
    if (status == 0 && text)
        return widen(text.get());
#endif
    return name;
}

bool isMangled(std::wstring_view name)
{
    return name.starts_with(L"_Z");
}

// "ns::f(int) const" -> "ns::f"
std::wstring withoutParameters(const std::wstring& name)
{
    const auto close = name.rfind(L')');
    if (close == std::wstring::npos || name.compare(close + 1, 2, L"::") == 0)
        return name;
    int depth = 0;
    for (std::size_t index = close + 1; index-- > 0;)
    {
        depth += name[index] == L')' ? 1 : name[index] == L'(' ? -1 : 0;
        if (depth == 0)
            return name.substr(0, index);
    }
    return name;
}

UndecoratedName undecorate(const DbgHelp& dbghelp, const std::wstring& name, DWORD flags)
{
    // dbghelp treats an empty name as a failure.
    if (name.empty())
        return {true, {}};
    std::vector<wchar_t> buffer(kLongestUndecoratedName);
    const DWORD length = dbghelp.undecorate(name.c_str(), buffer.data(), static_cast<DWORD>(buffer.size()), flags);
    return {length != 0, std::wstring(buffer.data(), length)};
}
}

const wchar_t* symbolTypeName(std::uint32_t type)
{
    return type < kSymbolTypeNames.size() ? kSymbolTypeNames[type] : L"-unknown-";
}

UndecoratedName shortSymbolName(const DbgHelp& dbghelp, const std::wstring& name)
{
    if (isMangled(name))
        return {true, withoutParameters(demangle(name))};
    return undecorate(dbghelp, name, UNDNAME_NAME_ONLY);
}

UndecoratedName completeSymbolName(const DbgHelp& dbghelp, const std::wstring& name)
{
    if (isMangled(name))
        return {true, demangle(name)};
    return undecorate(dbghelp, name, UNDNAME_COMPLETE);
}
}
