#include "cli/Output.h"

#include "cli/Paths.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <system_error>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace HardwareInventory
{
namespace
{
constexpr int kStandardOutput = 1;

#ifdef _WIN32
std::int64_t writeSome(std::string_view bytes)
{
    constexpr std::size_t kMost = 1U << 30U; // that the function takes
    return _write(kStandardOutput, bytes.data(), static_cast<unsigned>(std::min(bytes.size(), kMost)));
}

void takeBack(std::int64_t written)
{
    const std::int64_t end = _telli64(kStandardOutput);
    if (end >= written && _chsize_s(kStandardOutput, end - written) == 0)
        _lseeki64(kStandardOutput, 0, SEEK_END);
}
#else
std::int64_t writeSome(std::string_view bytes)
{
    return write(kStandardOutput, bytes.data(), bytes.size());
}

void takeBack(std::int64_t written)
{
    const std::int64_t end = lseek(kStandardOutput, 0, SEEK_CUR);
    if (end >= written && ftruncate(kStandardOutput, end - written) == 0)
        lseek(kStandardOutput, 0, SEEK_END);
}
#endif
}

void makeOutputBinary()
{
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
#endif
}

void writeOutput(std::string_view bytes)
{
    std::int64_t written = 0;
    while (static_cast<std::size_t>(written) < bytes.size())
    {
        const std::int64_t some = writeSome(bytes.substr(static_cast<std::size_t>(written)));
        if (some > 0)
        {
            written += some;
            continue;
        }
        if (some < 0 && errno == EINTR)
            continue;
        const int error = errno;
        takeBack(written);
        throw OutputError("cannot write the output: " + std::generic_category().message(error));
    }
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
    throw OutputError("cannot write " + utf8(path) + (error ? ": " + error.message() : ""));
}
}
