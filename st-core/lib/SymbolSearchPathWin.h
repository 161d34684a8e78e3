#pragma once

#include <string>

namespace ZelStdCore
{
// Where the symbol engine looks for symbols: the user's path, the folder of the program, the folders that the environment names
// and, if wanted, the public symbol server. Each element is followed by a semicolon.
std::wstring composeSymbolSearchPath(const std::wstring& userPath, bool withServer);
}
