#pragma once

#include <functional>
#include <string>

/// What the updater takes for something, beside the least that the same can cost. Rows are added before
/// main(), which runs them under Google Benchmark and returns 1 where one is beyond its bound or could not be
/// measured.
namespace Comparison {

/// Two figures of one kind, taken one right after the other: seconds, or any other unit.
struct Pair
{
    double work;
    double reference;
};

struct Row
{
    std::string what; ///< and beside what; without '/'
    double bound;     ///< how many times the reference the work may be
    int pairs;        ///< how many are made
};

/// Makes one pair; throws std::runtime_error where that cannot be done.
using MakePair = std::function<Pair()>;

/// Adds a row. @p prepare is called once, when its turn has come. The row shows the medians of both figures
/// and the median of the pairs' ratios, on which a machine that is disturbed now and then leaves no mark.
bool add(const Row& row, const std::function<MakePair()>& prepare);

double seconds(const std::function<void()>& work);

/// For what has to hold before a figure means anything.
void require(bool condition, const std::string& failure);

} // namespace Comparison
