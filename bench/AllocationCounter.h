#pragma once

#include <cstddef>

// Counts the program's allocations with operator new. The counter replaces the global operators of the whole program.
namespace bench
{
struct Allocations
{
    std::size_t count = 0; // calls so far
    std::size_t live = 0;  // bytes held now
};

Allocations allocations();
}
