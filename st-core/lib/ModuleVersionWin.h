#pragma once

#include <cstdint>

namespace ZelStdCore
{
// The file version from the version resource of a program or library, four numbers of 16 bits; 0 if it has none.
std::uint64_t moduleVersion(const wchar_t* path);
}
