#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace HardwareInventory
{
struct OutputError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// From now on standard output and standard error are UTF-8 with plain line feeds, on every platform.
void makeOutputBinary();

// Writes to standard output at once, past its buffer. Throws OutputError: a closed pipe, a full disk. A file on a full disk then
// ends with what was written before.
void writeOutput(std::string_view bytes);

// Writes a file beside the named one and then puts it in its place: whoever reads finds the old bytes or the new ones, never a
// part. Throws OutputError; the file is as it was, and nothing is left beside it.
void writeFile(const std::filesystem::path& path, std::string_view bytes);
}
