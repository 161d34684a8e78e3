#include "st-core/lib/LastError.h"

#include "st-core/lib/Unique.h"

#include <windows.h>

namespace ZelStdCore::Platform
{
namespace
{
using LocalText = Unique<wchar_t*, LocalFree>;
}

std::uint32_t lastErrorCode()
{
    return GetLastError();
}

void setLastErrorCode(std::uint32_t code)
{
    SetLastError(code);
}

std::wstring systemMessage(std::uint32_t code)
{
    LocalText text;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                       MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<wchar_t*>(text.put()), 0, nullptr);
    return length == 0 ? std::wstring() : std::wstring(text.get(), length);
}
}
