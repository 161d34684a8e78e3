#include "st-core/lib/LastError.h"

namespace ZelStdCore
{
namespace
{
std::wstring (*messageSource)(std::uint32_t code) = Platform::systemMessage;
}

void setMessageSource(std::wstring (*source)(std::uint32_t code))
{
    messageSource = source;
}

LastError LastError::capture()
{
    return {Platform::lastErrorCode()};
}

std::wstring LastError::text() const
{
    return code == 0 ? std::wstring() : messageSource(code);
}

std::wstring lastErrorText()
{
    return LastError::capture().text();
}
}
