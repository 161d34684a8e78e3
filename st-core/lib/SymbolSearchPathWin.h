#pragma once

#include <string>
#include <string_view>

namespace ZelStdCore
{
// The search path of the symbol handler: the user's path, the folder of the program, the folders that the environment names
// and, if wanted, the public symbol server. Each element is followed by a semicolon.
std::wstring composeSymbolSearchPath(std::wstring_view userPath, bool withServer);
}
