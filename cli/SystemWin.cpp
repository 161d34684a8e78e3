#include "cli/System.h"

#include "cli/Paths.h"

#include <windows.h>

namespace HardwareInventory
{
namespace
{
bool isConsole(DWORD which)
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(which), &mode);
}
}

std::filesystem::path programFile()
{
    std::wstring path(MAX_PATH, L'\0');
    DWORD length = 0;
    while ((length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()))) == path.size())
        path.resize(path.size() * 2);
    path.resize(length);
    return path;
}

std::string machineName()
{
    DWORD size = 0;
    GetComputerNameExW(ComputerNameDnsHostname, nullptr, &size);
    std::wstring name(size, L'\0');
    if (!GetComputerNameExW(ComputerNameDnsHostname, name.data(), &size))
        return {};
    name.resize(size);
    return utf8(name);
}

bool errorsAreSeen()
{
    return isConsole(STD_ERROR_HANDLE);
}

Console::Console()
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    if (!isConsole(STD_OUTPUT_HANDLE) && !isConsole(STD_ERROR_HANDLE))
        return;
    restore_ = [codePage = GetConsoleOutputCP()] { SetConsoleOutputCP(codePage); };
    SetConsoleOutputCP(CP_UTF8);
}
}
