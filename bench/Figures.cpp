#include "bench/Figures.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <vector>

namespace
{
using bench::Quantity;

struct Figure
{
    const char* name;
    double bar;
    bool atMost;
    Quantity value;
    std::optional<Quantity> reference;
};

std::vector<Figure>& figures()
{
    static std::vector<Figure> all;
    return all;
}

// Keeps the fastest repetition of each benchmark: other load on the machine can only slow one down.
class FigureReporter : public benchmark::BenchmarkReporter
{
public:
    bool allHeld() const { return allHeld_; }

    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration)
                keep(run);
    }

    void Finalize() override
    {
        for (const auto& [name, result] : results_)
            if (result.skipped.empty())
                std::printf("%-44s %12.1f ns\n", name.c_str(), result.seconds * 1e9);
        for (const Figure& figure : figures())
            print(figure);
    }

private:
    struct Result
    {
        double seconds = 0;
        std::map<std::string, double> counters;
        std::string skipped; // the reason
    };

    void keep(const Run& run)
    {
        const double seconds = run.cpu_accumulated_time / static_cast<double>(std::max<std::int64_t>(run.iterations, 1));
        const auto [place, isNew] = results_.try_emplace(run.run_name.function_name);
        Result& result = place->second;
        if (!isNew && result.seconds <= seconds)
            return;
        result.seconds = seconds;
        for (const auto& [name, counter] : run.counters)
            result.counters[name] = counter.value;
        result.skipped = run.error_occurred ? run.error_message : "";
    }

    // Why the quantity has no value; empty if it has one.
    std::string missing(const Quantity& quantity) const
    {
        const auto result = results_.find(quantity.benchmark);
        return result == results_.end() ? "not run" : result->second.skipped;
    }

    double valueOf(const Quantity& quantity) const
    {
        const Result& result = results_.at(quantity.benchmark);
        return quantity.counter.empty() ? result.seconds : result.counters.at(quantity.counter);
    }

    void print(const Figure& figure)
    {
        std::string reason = missing(figure.value);
        if (reason.empty() && figure.reference)
            reason = missing(*figure.reference);
        if (!reason.empty())
        {
            std::printf("figure %s: skipped (%s)\n", figure.name, reason.c_str());
            return;
        }
        const double value = valueOf(figure.value) / (figure.reference ? valueOf(*figure.reference) : 1.0);
        const bool held = figure.atMost ? value <= figure.bar : value >= figure.bar;
        std::printf("figure %s: %.2f (bar: at %s %g) %s\n", figure.name, value, figure.atMost ? "most" : "least", figure.bar,
                    held ? "ok" : "short");
        allHeld_ = allHeld_ && held;
    }

    std::map<std::string, Result> results_;
    bool allHeld_ = true;
};

bool declare(Figure figure)
{
    figures().push_back(std::move(figure));
    return true;
}
}

namespace bench
{
bool atMost(const char* name, double bar, Quantity value, Quantity reference)
{
    return declare({name, bar, true, std::move(value), std::move(reference)});
}

bool atLeast(const char* name, double bar, Quantity value, Quantity reference)
{
    return declare({name, bar, false, std::move(value), std::move(reference)});
}

bool atMost(const char* name, double bar, Quantity value)
{
    return declare({name, bar, true, std::move(value), std::nullopt});
}

std::string corpusFolder()
{
    const char* const folder = std::getenv("HW_INVENTORY_CORPUS");
    return folder && std::filesystem::is_directory(folder) ? folder : "";
}

void skipWithoutCorpus(benchmark::State& state)
{
    state.SkipWithError("no data of real machines in HW_INVENTORY_CORPUS");
}
}

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    FigureReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.allHeld() ? 0 : 1;
}
