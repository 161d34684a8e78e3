#include "cli/Output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

namespace HardwareInventory
{
void makeOutputBinary()
{
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
#endif
}

void writeOutput(std::string_view bytes)
{
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size() || std::fflush(stdout) != 0)
        throw OutputError(std::string("cannot write the output: ") + std::strerror(errno));
}

void writeFile(const std::filesystem::path& path, std::string_view bytes)
{
    std::filesystem::path beside = path;
    beside += ".new";
    std::ofstream file(beside, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    std::error_code error;
    if (file)
    {
        std::filesystem::rename(beside, path, error);
        if (!error)
            return;
    }
    std::error_code ignored;
    std::filesystem::remove(beside, ignored);
    const std::u8string name = path.u8string();
    throw OutputError("cannot write " + std::string(name.begin(), name.end()) + (error ? ": " + error.message() : ""));
}
}
