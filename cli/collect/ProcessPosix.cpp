#include "cli/collect/Process.h"

#include <cerrno>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace HardwareInventory
{
namespace
{
// One end of a pipe. No other program inherits it.
class End
{
public:
    End() = default;
    ~End()
    {
        if (descriptor >= 0)
            close(descriptor);
    }
    End(const End&) = delete;
    End& operator=(const End&) = delete;

    std::FILE* open(const char* mode)
    {
        std::FILE* const file = fdopen(descriptor, mode);
        if (!file)
            throw std::system_error(errno, std::generic_category(), "cannot use a pipe");
        descriptor = -1;
        return file;
    }

    int descriptor = -1;
};

struct Ends
{
    Ends()
    {
        int both[2] = {};
        if (pipe2(both, O_CLOEXEC) != 0)
            throw std::system_error(errno, std::generic_category(), "cannot make a pipe");
        reading.descriptor = both[0];
        writing.descriptor = both[1];
    }

    End reading;
    End writing;
};

// In the new process, where other threads' locks may be held for ever: system calls alone.
[[noreturn]] void become(const char* argument, int input, int output, pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() == parent && dup2(input, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0)
        execl("/proc/self/exe", "hw-inventory", argument, nullptr);
    _exit(127);
}
}

struct Process::Child
{
    pid_t id = -1;
    std::string how; // it ended
};

Process::Process(const char* argument) : child_(new Child)
{
    Ends toChild;
    Ends fromChild;
    const pid_t parent = getpid();
    child_->id = fork();
    if (child_->id < 0)
        throw std::system_error(errno, std::generic_category(), "cannot start a process");
    if (child_->id == 0)
        become(argument, toChild.reading.descriptor, fromChild.writing.descriptor, parent);
    input_.reset(toChild.writing.open("wb"));
    output_.reset(fromChild.reading.open("rb"));
}

Process::~Process()
{
    end();
}

std::string Process::end()
{
    if (!child_->how.empty())
        return child_->how;
    kill(child_->id, SIGKILL);
    int status = 0;
    while (waitpid(child_->id, &status, 0) < 0 && errno == EINTR)
        ;
    child_->how =
        WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status)) : "status " + std::to_string(WEXITSTATUS(status));
    return child_->how;
}

Pipes takeStandardPipes()
{
    const int own = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    std::FILE* const file = own < 0 ? nullptr : fdopen(own, "wb");
    if (!file || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        throw std::system_error(errno, std::generic_category(), "cannot keep standard output");
    return {stdin, file};
}

void endThisProcess()
{
    _exit(0);
}
}
