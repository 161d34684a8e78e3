#pragma once

#include <cstddef>
#include <ostream>

// The resources of this process. The system's strings, VARIANTs and COM objects are blocks of its heaps like the library's own.
struct Balance
{
    std::size_t heapBlocks;
    std::size_t heapBytes;
    std::size_t handles;
    std::size_t modules;

    static Balance take();

    // The difference to an earlier balance.
    Balance since(const Balance& then) const;

    // A system lock takes a handle when it is first contended, so that a few handles may differ.
    bool operator==(const Balance& other) const;
};

std::ostream& operator<<(std::ostream& stream, const Balance& balance);
