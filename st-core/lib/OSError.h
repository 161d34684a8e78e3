#pragma once

#include <cstddef>
#include <string>

namespace ZelStdCore
{
// The C library's text for an error number. Throws RuntimeException when the library has none.
std::wstring strerror(int errorNumber);

namespace Platform
{
// The bounded error-text function of the C library: the status (0 on success), and the text in the buffer. Implemented by the
// Windows file and by the tests.
int errorNumberText(int errorNumber, char* buffer, std::size_t size);
}
}
