#pragma once

#include <cstdint>
#include <string>

namespace ZelStdCore
{
// The file version from the version resource of a program or library, four numbers of 16 bits; 0 if it has none.
std::uint64_t moduleVersion(const wchar_t* path);

// A text of the version resource, in English: "FileVersion"; empty if it has none.
std::wstring moduleText(const wchar_t* path, const wchar_t* name);
}
