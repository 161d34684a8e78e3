#pragma once

#include <cstddef>

namespace HardwareInventory
{
// A file that the build puts into the program (cmake/EmbedFiles.cmake).
struct EmbeddedFile
{
    const unsigned char* bytes;
    std::size_t size;
};
}
