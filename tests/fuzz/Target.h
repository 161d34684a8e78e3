#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline void require(bool holds, const char* rule)
{
    if (!holds)
        std::cerr << "violated: " << rule << std::endl, std::abort();
}
