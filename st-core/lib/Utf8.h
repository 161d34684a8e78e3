#pragma once

#include <string>
#include <string_view>

namespace ZelStdCore
{
// Text is wide inside the library (UTF-16 on Windows, UTF-32 where wchar_t has four bytes) and UTF-8 at its interfaces.

// Decodes UTF-8. Text that is not valid UTF-8 is decoded as Latin-1 as a whole, so that every byte string has a wide form.
std::wstring widen(std::string_view text);

// Encodes as UTF-8. A surrogate pair becomes one four-byte sequence; a lone surrogate or a value beyond U+10FFFF becomes U+FFFD.
std::string toUtf8(std::wstring_view text);
}
