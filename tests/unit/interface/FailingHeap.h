#pragma once

#include <cstddef>

// The heap of a program that links FailingHeap.cpp: every operator new of it, on any thread. Lets one allocation fail, or that one
// and all that follow, or something else happen in it.
struct FailingHeap
{
    bool armed = false;
    bool failed = false;         // since it was armed
    bool forGood = false;        // what fails first is not the last
    std::size_t left = 0;        // allocations before the one that fails
    std::ptrdiff_t live = 0;     // blocks taken and not given back
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
