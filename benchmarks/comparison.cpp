#include "comparison.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include <benchmark/benchmark.h>

#include <QCoreApplication>

namespace Comparison {
namespace {

class Judge : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median")
                continue;
            ConsoleReporter::ReportRuns({run});
            const bool isWithin = run.counters.at("ratio").value <= run.counters.at("bound").value;
            hasMiss = hasMiss || !isWithin;
        }
    }

    bool hasMiss = false;
};

} // namespace

bool add(const char* what, double bound, int pairs, const std::function<Pair()>& makePair)
{
    const auto run = [bound, makePair](benchmark::State& state) {
        for ([[maybe_unused]] auto once : state) {
            const Pair pair = makePair();
            state.SetIterationTime(pair.work);
            state.counters = {{"work", pair.work},
                              {"reference", pair.reference},
                              {"ratio", pair.work / pair.reference},
                              {"bound", bound}};
        }
    };
    auto* const registered = benchmark::RegisterBenchmark(what, run);
    registered->Iterations(1)->Repetitions(pairs)->ReportAggregatesOnly()->UseManualTime();
    return true;
}

void require(bool condition, const char* failure)
{
    if (condition)
        return;
    std::fprintf(stderr, "%s\n", failure);
    std::exit(EXIT_FAILURE);
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
