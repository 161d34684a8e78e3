#include "st-core/lib/SystemLibraryWin.h"

namespace ZelStdCore
{
namespace
{
// No dialog about a damaged library or a missing disk may stop the host. The previous mode is restored.
class QuietErrors
{
public:
    QuietErrors() { SetThreadErrorMode(GetThreadErrorMode() | SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &previous_); }
    ~QuietErrors()
    {
        const DWORD error = GetLastError();
        SetThreadErrorMode(previous_, nullptr);
        SetLastError(error);
    }
    QuietErrors(const QuietErrors&) = delete;

private:
    DWORD previous_ = 0;
};
}

HMODULE loadSystemLibrary(const wchar_t* name)
{
    const QuietErrors quiet;
    return LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
}
}
