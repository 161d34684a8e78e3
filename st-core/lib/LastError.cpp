#include "st-core/lib/LastError.h"

namespace ZelStdCore
{
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
}
