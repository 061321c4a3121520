#include "comparison.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <vector>

#include <benchmark/benchmark.h>

#include <QCoreApplication>

namespace Comparison {
namespace {

template <typename Figure>
double medianOf(const std::vector<Pair>& pairs, Figure figure)
{
    std::vector<double> values;
    std::transform(pairs.begin(), pairs.end(), std::back_inserter(values), figure);
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void runRow(benchmark::State& state, double bound, const std::function<MakePair()>& prepare)
{
    std::vector<Pair> pairs;
    try {
        const MakePair makePair = prepare();
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
    state.counters["bound"] = bound;
}

class Judge : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            hasMiss = hasMiss || run.error_occurred ||
                      run.counters.at("ratio").value > run.counters.at("bound").value;
    }

    bool hasMiss = false;
};

} // namespace

bool add(const Row& row, const std::function<MakePair()>& prepare)
{
    benchmark::RegisterBenchmark(
        row.what.c_str(),
        [bound = row.bound, prepare](benchmark::State& state) { runRow(state, bound, prepare); })
        ->Iterations(row.pairs)
        ->UseManualTime();
    return true;
}

double seconds(const std::function<void()>& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void require(bool condition, const std::string& failure)
{
    if (!condition)
        throw std::runtime_error(failure);
}

} // namespace Comparison

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    Comparison::Judge judge;
    benchmark::RunSpecifiedBenchmarks(&judge);
    return judge.hasMiss ? 1 : 0;
}
