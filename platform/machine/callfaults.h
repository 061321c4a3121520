#pragma once

#include <map>
#include <mutex>
#include <optional>

/// Counts the calls of a fake's functions, and fails those that a test chooses. Callable on any thread.
template <typename Function, typename Result>
class CallFaults
{
public:
    static constexpr int everyCall = 0;

    /// Makes the @p nth call of @p function end with @p result: 1 is the first, `everyCall` means each.
    void fail(Function function, int nth, Result result)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        faults[{function, nth}] = result;
    }

    /// Counts a call. @return the result with which the call must end at once; nothing if it may go on.
    std::optional<Result> count(Function function)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        const int nth = ++counts[function];
        for (const int faulty : {nth, everyCall}) {
            if (const auto fault = faults.find({function, faulty}); fault != faults.end())
                return fault->second;
        }
        return std::nullopt;
    }

    int counted(Function function)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        return counts[function];
    }

private:
    std::mutex mutex; ///< guards what follows
    std::map<Function, int> counts;
    std::map<std::pair<Function, int>, Result> faults;
};
