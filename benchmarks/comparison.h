#pragma once

#include <functional>

/// What the updater takes for something, beside the least that the same can cost. Rows are added before
/// main(), which runs them under Google Benchmark and returns 1 where one is beyond its bound or cannot be
/// measured.
namespace Comparison {

/// Two figures of one kind, taken one right after the other: seconds, or any other unit.
struct Pair
{
    double work;
    double reference;
};

/// Adds a row. It shows the medians of both figures and the median of the pairs' ratios, on which a machine
/// that is disturbed now and then leaves no mark.
/// @param what   and beside what; without '/'.
/// @param bound  how many times the reference the work may be.
/// @param pairs  how many are made.
bool add(const char* what, double bound, int pairs, const std::function<Pair()>& makePair);

double seconds(const std::function<void()>& work);

/// For what has to hold before a figure means anything: otherwise the program ends with exit status 1.
void require(bool condition, const char* failure);

} // namespace Comparison
