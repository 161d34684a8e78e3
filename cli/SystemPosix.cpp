#include "cli/System.h"

#include <array>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace HardwareInventory
{
std::filesystem::path programFile()
{
    return std::filesystem::read_symlink("/proc/self/exe");
}

std::string machineName()
{
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

bool errorsAreSeen()
{
    return isatty(STDERR_FILENO) == 1;
}

Console::Console()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    // A pipe of ours must not become standard output because that was closed. What is written here fails.
    int descriptor = STDIN_FILENO;
    while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (descriptor > STDERR_FILENO)
        close(descriptor);
}
}
