#include "st-core/lib/LastError.h"

#include <memory>

#include <windows.h>

namespace ZelStdCore::Platform
{
namespace
{
struct FreeLocal
{
    void operator()(wchar_t* text) const { LocalFree(text); }
};
using LocalText = std::unique_ptr<wchar_t, FreeLocal>;
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
    wchar_t* buffer = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                       MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    const LocalText text(buffer);
    return length == 0 ? std::wstring() : std::wstring(text.get(), length);
}
}
