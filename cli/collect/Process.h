#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace HardwareInventory
{
// This program once more, as a process of its own that reads and writes our pipes. It ends with its owner, and with this process.
class Process
{
public:
    // With one argument, a single word. Throws std::system_error.
    explicit Process(const char* argument);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    std::FILE* input() const { return input_.get(); }
    std::FILE* output() const { return output_.get(); }

    // Ends the process, if it has not ended by itself, and returns how it ended: "status 3". The output is at its end then.
    std::string end();

private:
    struct Close
    {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    using Pipe = std::unique_ptr<std::FILE, Close>;

    struct Child; // of the platform
    std::unique_ptr<Child> child_;
    Pipe input_;
    Pipe output_;
};

// Standard input and output of this process, for bytes. The output belongs to the caller alone from now on: what others write to
// standard output goes to standard error.
struct Pipes
{
    std::FILE* input;
    std::FILE* output;
};
Pipes takeStandardPipes();

// Ends this process at once, whatever its threads do and whatever locks they hold.
[[noreturn]] void endThisProcess();
}
