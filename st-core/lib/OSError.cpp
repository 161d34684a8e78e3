#include "st-core/lib/OSError.h"

#include "st-core/lib/Format.h"
#include "st-core/lib/RuntimeException.h"
#include "st-core/lib/Utf8.h"

namespace ZelStdCore
{
namespace
{
constexpr wchar_t kSourceFile[] = L"st-core\\lib\\OSError.cpp";
constexpr std::size_t kErrorTextSize = 4096;
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
