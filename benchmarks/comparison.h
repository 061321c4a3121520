#pragma once

#include <functional>
#include <string>

/// The rows of the table: what the updater takes for something, beside the least that the same can cost.
///
/// Each program adds its rows before main(), which runs them under Google Benchmark, prints them as lines of
/// a Markdown table and returns 1 where one is beyond its bound or could not be measured.
namespace Comparison {

/// Two figures of one kind, taken one right after the other.
struct Pair
{
    double work;
    double reference;
};

/// What a row is about; nothing of it may hold a '/'.
struct Row
{
    std::string what;
    std::string against;
    std::string unit; ///< of the figures; seconds ("s") are shown in a fitting part of them
    double bound;     ///< how many times the reference the work may be; 0: only stated
    int pairs;        ///< how many are made
};

/// Makes one pair; throws std::runtime_error where that cannot be done.
using MakePair = std::function<Pair()>;

/// Adds a row. @p prepare is called once, when its turn has come. The row shows the medians of both figures
/// and the median of the pairs' ratios, on which a machine that is disturbed now and then leaves no mark.
bool add(const Row& row, const std::function<MakePair()>& prepare);

using Work = std::function<void()>;

/// Times both in seconds, every other time in reverse order.
MakePair alternately(const Work& work, const Work& reference);

double seconds(const Work& work);

/// For what has to hold before a figure means anything.
void require(bool condition, const std::string& failure);

} // namespace Comparison
