#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

/// Blocks the calling thread for @p ms milliseconds of whatever clock the simulation runs by.
using SleepFunction = std::function<void(std::uint32_t ms)>;

/// Runs actions, each some time after the one before, on a thread of its own. All operations may be called on
/// any thread.
class DelayedActions
{
public:
    explicit DelayedActions(SleepFunction clockSleep);
    /// Waits for the action that is under way; the others are dropped.
    ~DelayedActions();

    void add(std::uint32_t delayMs, std::function<void()> action);

    /// Whether none is planned or under way.
    bool isIdle() const;

private:
    void run();

    struct Action
    {
        std::uint32_t delayMs;
        std::function<void()> run;
    };
    const SleepFunction sleep;
    mutable std::mutex mutex; ///< guards what follows; not held while an action runs
    std::condition_variable changed;
    std::deque<Action> actions; ///< the first stays until it is done
    bool ending = false;
    std::thread thread;
};
