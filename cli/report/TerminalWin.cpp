#include "cli/report/Terminal.h"

#include <windows.h>

namespace HardwareInventory
{
bool coloursWanted()
{
    const bool noColours = GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) > 1; // with the terminating null
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return !noColours && GetConsoleMode(console, &mode) &&
           SetConsoleMode(console, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

unsigned terminalWidth()
{
    CONSOLE_SCREEN_BUFFER_INFO console = {};
    return GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &console)
               ? static_cast<unsigned>(console.srWindow.Right - console.srWindow.Left + 1)
               : 0;
}
}
