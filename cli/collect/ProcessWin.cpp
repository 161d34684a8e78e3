#include "cli/collect/Process.h"

#include "cli/System.h"

#include <cstdint>
#include <filesystem>
#include <system_error>
#include <vector>

#include <windows.h>

#include <fcntl.h>
#include <io.h>

namespace HardwareInventory
{
namespace
{
[[noreturn]] void fail(const char* what)
{
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

struct CloseHandleOf
{
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, CloseHandleOf>;

struct Ends
{
    Ends()
    {
        HANDLE both[2] = {};
        if (!CreatePipe(&both[0], &both[1], nullptr, 0))
            fail("cannot make a pipe");
        reading.reset(both[0]);
        writing.reset(both[1]);
    }

    Handle reading;
    Handle writing;
};

std::FILE* open(Handle& handle, int flags, const char* mode)
{
    const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle.get()), flags | _O_BINARY);
    std::FILE* const file = descriptor < 0 ? nullptr : _fdopen(descriptor, mode);
    if (!file)
        throw std::system_error(errno, std::generic_category(), "cannot use a pipe");
    handle.release();
    return file;
}

// Where the child's standard error goes: where ours does, else nowhere.
Handle errorsForChild()
{
    HANDLE errors = nullptr;
    const HANDLE own = GetStdHandle(STD_ERROR_HANDLE);
    if (own && own != INVALID_HANDLE_VALUE)
        DuplicateHandle(GetCurrentProcess(), own, GetCurrentProcess(), &errors, 0, FALSE, DUPLICATE_SAME_ACCESS);
    if (!errors)
        errors = CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    return Handle(errors == INVALID_HANDLE_VALUE ? nullptr : errors);
}

// That a process inherits these handles and no others, though other threads may make inheritable ones.
class Inheritance
{
public:
    explicit Inheritance(std::vector<HANDLE> handles) : handles_(std::move(handles))
    {
        for (const HANDLE handle : handles_)
            if (!SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT))
                fail("cannot pass on a pipe");
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        bytes_.resize(size);
        if (!InitializeProcThreadAttributeList(list(), 1, 0, &size))
            fail("cannot pass on a pipe");
        initialized_ = true;
        if (!UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                       handles_.size() * sizeof(HANDLE), nullptr, nullptr))
            fail("cannot pass on a pipe");
    }
    ~Inheritance()
    {
        if (initialized_)
            DeleteProcThreadAttributeList(list());
    }
    Inheritance(const Inheritance&) = delete;
    Inheritance& operator=(const Inheritance&) = delete;

    LPPROC_THREAD_ATTRIBUTE_LIST list() { return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(bytes_.data()); }

private:
    std::vector<HANDLE> handles_;
    std::vector<char> bytes_;
    bool initialized_ = false;
};

// A job that ends its processes when this process ends, however it does; null where there can be none, as within another job on
// Windows 7. The child then ends because its standard input does.
Handle jobThatEndsWithUs()
{
    Handle job(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (job && !SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits)))
        job.reset();
    return job;
}
}

struct Process::Child
{
    Handle job;
    Handle process;
    std::string how; // it ended
};

Process::Process(const char* argument) : child_(new Child)
{
    Ends toChild;
    Ends fromChild;
    const Handle errors = errorsForChild();
    std::vector<HANDLE> inherited = {toChild.reading.get(), fromChild.writing.get()};
    if (errors)
        inherited.push_back(errors.get());
    Inheritance inheritance(std::move(inherited));

    STARTUPINFOEXW start{};
    start.StartupInfo.cb = sizeof(start);
    start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    start.StartupInfo.hStdInput = toChild.reading.get();
    start.StartupInfo.hStdOutput = fromChild.writing.get();
    start.StartupInfo.hStdError = errors.get();
    start.lpAttributeList = inheritance.list();
    // Without a console of our own, the system would open a window for that of the child.
    const DWORD flags = EXTENDED_STARTUPINFO_PRESENT | CREATE_SUSPENDED | (GetConsoleWindow() ? 0 : CREATE_NO_WINDOW);
    const std::filesystem::path program = programFile();
    std::wstring command = L"hw-inventory " + std::filesystem::path(argument).wstring();
    PROCESS_INFORMATION made{};
    if (!CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr, &start.StartupInfo,
                        &made))
        fail("cannot start a process");
    child_->process.reset(made.hProcess);
    const Handle thread(made.hThread);
    child_->job = jobThatEndsWithUs();
    if (child_->job && !AssignProcessToJobObject(child_->job.get(), made.hProcess))
        child_->job.reset();
    ResumeThread(made.hThread);
    input_.reset(open(toChild.writing, 0, "wb"));
    output_.reset(open(fromChild.reading, _O_RDONLY, "rb"));
}

Process::~Process()
{
    end();
}

std::string Process::end()
{
    if (!child_->how.empty())
        return child_->how;
    TerminateProcess(child_->process.get(), 1);
    WaitForSingleObject(child_->process.get(), INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(child_->process.get(), &status);
    constexpr DWORD kFirstException = 0xC0000000; // an NTSTATUS, which is written in hexadecimal
    char text[32];
    std::snprintf(text, sizeof(text), status < kFirstException ? "status %lu" : "status 0x%08lx", status);
    return child_->how = text;
}

Pipes takeStandardPipes()
{
    constexpr int kOutput = 1;
    constexpr int kErrors = 2;
    const int own = _dup(kOutput);
    std::FILE* const file = own < 0 ? nullptr : _fdopen(own, "wb");
    if (!file || _dup2(kErrors, kOutput) < 0)
        throw std::system_error(errno, std::generic_category(), "cannot keep standard output");
    _setmode(own, _O_BINARY);
    _setmode(_fileno(stdin), _O_BINARY);
    // For runtimes that are loaded later.
    SetStdHandle(STD_OUTPUT_HANDLE, GetStdHandle(STD_ERROR_HANDLE));
    return {stdin, file};
}

void endThisProcess()
{
    TerminateProcess(GetCurrentProcess(), 0);
    std::abort();
}
}
