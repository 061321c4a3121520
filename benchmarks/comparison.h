#pragma once

#include <functional>

/// Compares what a task costs the updater with the least that the task can cost. Rows are added before
/// main(), which runs them under Google Benchmark and returns 1 if a row fails or exceeds its bound.
namespace Comparison {

/// Two figures in the same unit, measured right after each other.
struct Pair
{
    double work;
    double reference;
};

/// Adds a row that shows the medians of both figures and of the pairs' ratios. Short disturbances of the
/// machine do not change the medians.
/// @param what   names the work and the reference; must not contain '/'.
/// @param bound  the largest ratio of work to reference.
/// @param pairs  the number of pairs to measure.
bool add(const char* what, double bound, int pairs, const std::function<Pair()>& makePair);

/// Ends the program with exit status 1 if @p condition is false, because the figures mean nothing then.
void require(bool condition, const char* failure);

} // namespace Comparison
