#include "cli/report/Terminal.h"

#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

namespace HardwareInventory
{
namespace
{
// Empty where it is not set.
std::string_view variable(const char* name)
{
    const char* const value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nobody changes variables
    return value ? value : "";
}
}

bool coloursWanted()
{
    const std::string_view terminal = variable("TERM");
    return isatty(STDOUT_FILENO) && variable("NO_COLOR").empty() && !terminal.empty() && terminal != "dumb";
}

unsigned terminalWidth()
{
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}
}
