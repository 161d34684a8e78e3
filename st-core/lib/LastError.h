#pragma once

#include <cstdint>
#include <string>

namespace ZelStdCore
{
// The calling thread's last OS error, saved after the failing call before anything else replaces it.
struct LastError
{
    std::uint32_t code = 0;

    static LastError capture();

    // The system's message for the code in the user's language, exactly as the system gives it (trailing line break
    // included). Empty for code 0 and for a code without a message.
    std::wstring text() const;
};

// LastError::capture().text()
std::wstring lastErrorText();

// Where the texts come from: the system, unless a program that repeats another system's errors replaces it.
void setMessageSource(std::wstring (*source)(std::uint32_t code));

// Platform operations, in the file of each platform.
namespace Platform
{
std::uint32_t lastErrorCode();
void setLastErrorCode(std::uint32_t code);
std::wstring systemMessage(std::uint32_t code);
}
}
