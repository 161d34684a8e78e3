#pragma once

#include <benchmark/benchmark.h>

#include <string>

// A benchmark program declares, beside its benchmarks, figures with limits. The program's table of figures follows the benchmarks'
// own report; the program fails when a figure falls short.
namespace bench
{
// What one benchmark measured: its time per iteration, or one of its counters.
struct Quantity
{
    std::string benchmark;
    std::string counter = {};
};

// Declares a figure. The result only lets a constant run the declaration at the start of the program.
//     const bool parsing = bench::atMost("parse against a newline scan", 3.0, {"parse"}, {"newlineScan"});
bool atMost(const char* name, double bar, Quantity value, Quantity reference);
bool atLeast(const char* name, double bar, Quantity value, Quantity reference);

// A figure that is no ratio.
bool atMost(const char* name, double bar, Quantity value);

// The folder with data of real machines; empty if there is none. A benchmark that needs it passes this to skipWithoutCorpus.
std::string corpusFolder();

// Marks the benchmark as skipped, and with it its figures.
void skipWithoutCorpus(benchmark::State& state);
}
