#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace HardwareInventory
{
// What the program asks of the system. SystemWin.cpp and SystemPosix.cpp answer.

// The file of this program. Throws std::filesystem::filesystem_error.
std::filesystem::path programFile();

// The name of this machine in its network; empty if unknown.
std::string machineName();

// Whether somebody sees standard error as it is written.
bool errorsAreSeen();

// The console takes UTF-8 while this lives. A closed pipe or a file that may not grow is an error of the write, and a library that
// cannot be loaded one of the load: none of them ends the program or opens a dialog.
class Console
{
public:
    Console();
    ~Console()
    {
        if (restore_)
            restore_();
    }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

private:
    std::function<void()> restore_;
};
}
