#pragma once

#include <cstddef>
#include <ostream>

// What this process holds. Texts, variants and COM objects of the system are blocks of its heaps as well as the library's own.
struct Balance
{
    std::size_t heapBlocks;
    std::size_t heapBytes;
    std::size_t handles;
    std::size_t modules;

    static Balance take();

    // How much more is held than then.
    Balance since(const Balance& then) const;

    // A lock of the system takes a handle when it is contended for the first time, so that a few handles may differ.
    bool operator==(const Balance& other) const;
};

std::ostream& operator<<(std::ostream& stream, const Balance& balance);
