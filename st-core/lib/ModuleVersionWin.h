#pragma once

#include <cstdint>

namespace ZelStdCore
{
// The file version out of the version resource of a program or library, four numbers of 16 bits; 0 when it has none.
std::uint64_t moduleVersion(const wchar_t* path);
}
