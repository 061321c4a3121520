#pragma once

#include <map>
#include <optional>

/// Counts the calls of a fake's functions and fails those that it was told to. Guarded by the fake's lock.
template <typename Function, typename Result>
class CallFaults
{
public:
    /// Makes the @p nth call of @p function from the start (1 is the first) end with @p result.
    void fail(Function function, int nth, Result result) { faults[function][nth] = result; }

    /// Counts a call. @return the result with which it is to end at once, if it is.
    std::optional<Result> count(Function function)
    {
        const int nth = ++counts[function];
        const auto& ofFunction = faults[function];
        const auto fault = ofFunction.find(nth);
        return fault == ofFunction.end() ? std::nullopt : std::optional<Result>(fault->second);
    }

    int counted(Function function) const
    {
        const auto it = counts.find(function);
        return it == counts.end() ? 0 : it->second;
    }

private:
    std::map<Function, int> counts;
    std::map<Function, std::map<int, Result>> faults;
};
