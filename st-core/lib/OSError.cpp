#include "st-core/lib/OSError.h"

#include "st-core/lib/RuntimeException.h"
#include "st-core/lib/Text.h"

namespace ZelStdCore
{
namespace
{
constexpr const wchar_t* kSourceFile = L"st-core\\lib\\OSError.cpp";
constexpr std::size_t kErrorTextSize = 4096;
}

LastError LastError::capture()
{
    return {Platform::lastErrorCode()};
}

std::wstring LastError::text() const
{
    return code == 0 ? std::wstring() : Platform::systemMessage(code);
}

std::wstring lastErrorText()
{
    return LastError::capture().text();
}

ST_CORE_OWN_FRAME
std::wstring strerror(int errorNumber)
{
    std::string text(kErrorTextSize, '\0');
    if (const int status = Platform::errorNumberText(errorNumber, text.data(), text.size()); status != 0)
        throw RuntimeException(format(L"failed to get (%1%) errno status description: status = %2%", errorNumber, status),
                               kSourceFile, L"ZelStdCore::strerror", __LINE__);
    return widen(text.c_str());
}
}
