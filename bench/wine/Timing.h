#pragma once

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <vector>

template <class Work>
double milliseconds(Work work)
{
    LARGE_INTEGER frequency, start, end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&start);
    work();
    QueryPerformanceCounter(&end);
    return 1e3 * static_cast<double>(end.QuadPart - start.QuadPart) / static_cast<double>(frequency.QuadPart);
}

inline double quantile(std::vector<double> values, double share)
{
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

// One line of the table that bench.sh ends with; returns whether the figure holds.
inline bool printFigure(const char* name, double value, double bar)
{
    const bool held = value <= bar;
    std::printf("figure %s: %.3f (bar: at most %g) %s\n", name, value, bar, held ? "ok" : "short");
    return held;
}
