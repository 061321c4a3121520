#include "comparison.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace Comparison;

struct AddedRow : Row
{
    std::function<MakePair()> prepare;
};

std::vector<AddedRow>& rows()
{
    static std::vector<AddedRow> added;
    return added;
}

template <typename Figure>
double medianOf(const std::vector<Pair>& pairs, Figure figure)
{
    std::vector<double> values;
    std::transform(pairs.begin(), pairs.end(), std::back_inserter(values), figure);
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void runRow(benchmark::State& state, const AddedRow& row)
{
    std::vector<Pair> pairs;
    try {
        const MakePair makePair = row.prepare();
        for ([[maybe_unused]] auto pair : state) {
            pairs.push_back(makePair());
            state.SetIterationTime(pairs.back().work);
        }
    } catch (const std::runtime_error& error) {
        state.SkipWithError(error.what());
        return;
    }
    state.counters["work"] = medianOf(pairs, [](const Pair& pair) { return pair.work; });
    state.counters["reference"] = medianOf(pairs, [](const Pair& pair) { return pair.reference; });
    state.counters["ratio"] = medianOf(pairs, [](const Pair& pair) { return pair.work / pair.reference; });
}

std::string shown(double figure, std::string unit)
{
    if (unit == "s" && figure < 1e-3) {
        figure *= 1e6;
        unit = "µs";
    } else if (unit == "s" && figure < 1) {
        figure *= 1e3;
        unit = "ms";
    }
    char text[64];
    std::snprintf(text, sizeof(text), figure < 1000 ? "%.3g %s" : "%.0f %s", figure, unit.c_str());
    return text;
}

/// Prints a line of the table for each row.
class TableReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            const auto row = std::find_if(rows().begin(), rows().end(), [&](const AddedRow& candidate) {
                return candidate.what == run.run_name.function_name;
            });
            report(*row, run);
        }
        std::fflush(stdout);
    }

    bool hasMiss = false;

private:
    void report(const Row& row, const Run& run)
    {
        std::printf("| %s | %s |", row.what.c_str(), row.against.c_str());
        if (run.error_occurred) {
            std::printf(" | | | %g | **miss**: %s |\n", row.bound, run.error_message.c_str());
            hasMiss = true;
            return;
        }
        const double ratio = run.counters.at("ratio");
        const bool isMiss = row.bound > 0 && ratio > row.bound;
        std::printf(" %s | %s | %.3f |", shown(run.counters.at("work"), row.unit).c_str(),
                    shown(run.counters.at("reference"), row.unit).c_str(), ratio);
        if (row.bound > 0)
            std::printf(" %g | %s |\n", row.bound, isMiss ? "**miss**" : "pass");
        else
            std::puts(" | |");
        hasMiss = hasMiss || isMiss;
    }
};

} // namespace

namespace Comparison {

bool add(const Row& row, const std::function<MakePair()>& prepare)
{
    rows().push_back({row, prepare});
    return true;
}

double seconds(const Work& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

MakePair alternately(const Work& work, const Work& reference)
{
    return [work, reference, isReversed = false]() mutable {
        Pair pair{};
        isReversed = !isReversed;
        if (isReversed)
            pair.reference = seconds(reference);
        pair.work = seconds(work);
        if (!isReversed)
            pair.reference = seconds(reference);
        return pair;
    };
}

void require(bool condition, const std::string& failure)
{
    if (!condition)
        throw std::runtime_error(failure);
}

} // namespace Comparison

int main(int argc, char* argv[])
{
    for (const AddedRow& row : rows()) {
        benchmark::RegisterBenchmark(row.what.c_str(),
                                     [&row](benchmark::State& state) { runRow(state, row); })
            ->Iterations(row.pairs)
            ->UseManualTime();
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    TableReporter table;
    benchmark::RunSpecifiedBenchmarks(&table);
    return table.hasMiss ? 1 : 0;
}
