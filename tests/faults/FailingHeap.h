#pragma once

#include <cstddef>

// The heap of a program that links FailingHeap.cpp: its every operator new, on any thread. Lets one allocation fail, or that one
// and all that follow, or something else happen in it.
struct FailingHeap
{
    bool armed = false;
    bool failed = false;         // since it was armed
    bool forGood = false;        // all later allocations fail too
    std::size_t left = 0;        // allocations before the one that fails
    std::ptrdiff_t live = 0;     // blocks allocated and not freed
    void (*instead)() = nullptr; // called in place of the failure

    void arm(std::size_t index, bool allThatFollow = false)
    {
        failed = false;
        forGood = allThatFollow;
        left = index;
        armed = true;
    }
};
extern FailingHeap heap;
