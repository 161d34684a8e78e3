#pragma once

#include <cstddef>

// The heap of a program that links FailingHeap.cpp: every operator new of it, on any thread. Lets a single allocation fail, or
// something else happen in it.
struct FailingHeap
{
    bool armed = false;
    bool failed = false;     // since it was armed
    std::size_t left = 0;    // allocations before the one that fails
    std::ptrdiff_t live = 0; // blocks taken and not given back
    void (*instead)() = nullptr; // called in place of the failure

    void arm(std::size_t index)
    {
        failed = false;
        left = index;
        armed = true;
    }
};
extern FailingHeap heap;

#ifdef HW_INVENTORY_WRAPS_MALLOC
// Lets every direct call of malloc fail. Operator new is not concerned.
extern bool mallocFails;
#endif
