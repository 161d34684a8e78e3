#pragma once

#include <array>
#include <cstdio>
#include <exception>

namespace HardwareInventory
{
// A vendor's library that cannot be used. The text is formatted by printf's rules into the object itself and cut to 511
// characters.
class GPUException : public std::exception
{
public:
    explicit GPUException(const char* text) : GPUException("%s", text) {}

    template <class First, class... Rest>
    explicit GPUException(const char* pattern, First first, Rest... rest)
    {
        std::snprintf(text_.data(), text_.size(), pattern, first, rest...);
    }

    const char* what() const noexcept override { return text_.data(); }

private:
    std::array<char, 512> text_{};
};

class NvidiaException : public GPUException
{
public:
    using GPUException::GPUException;
};

class AMDException : public GPUException
{
public:
    using GPUException::GPUException;
};
}
