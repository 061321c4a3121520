#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// The machine's time. This base class uses real time. All operations may be called on any thread.
class Clock
{
public:
    virtual ~Clock() = default;

    /// Blocks the calling thread for @p ms milliseconds of this clock.
    virtual void sleep(std::uint32_t ms);

    /// Milliseconds since an arbitrary start; wraps at 2^32.
    virtual std::uint32_t tickCount();

    /// Waits until @p condition holds, but at most @p timeoutMs milliseconds of this clock. @p lock is held
    /// on entry, on return and whenever @p condition is called. A thread that changes the result of
    /// @p condition must notify @p changed.
    /// @return whether the condition holds.
    virtual bool waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                         std::uint32_t timeoutMs, const std::function<bool()>& condition);
};

/// A clock that runs `speed` times as fast as real time. A change of speed also affects waits in progress.
class ScaledClock : public Clock
{
public:
    /// At this speed an update takes only a moment, but its steps can still be seen.
    static constexpr double atOnce = 1000;

    explicit ScaledClock(double clockSpeed = 1);

    void setSpeed(double clockSpeed);

    /// A sleep of more than 0 takes at least a millisecond of real time, at any speed.
    void sleep(std::uint32_t ms) override;
    std::uint32_t tickCount() override;
    bool waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                 std::uint32_t timeoutMs, const std::function<bool()>& condition) override;

private:
    using Wall = std::chrono::steady_clock;
    using Duration = std::chrono::duration<double, std::milli>;

    double now() const;
    Duration untilWallShows(double time) const;

    mutable std::mutex mutex;
    std::condition_variable speedChanged;
    double speed;
    double changeTime = 0; ///< time of the last change of speed, in milliseconds of this clock
    Wall::time_point changeWallTime = Wall::now();
};

/// A clock on which every wait ends at once. A sleep only advances the tick and is recorded. A sleep of 0
/// advances the tick by 1, so that a loop of such sleeps also reaches its time limit.
class VirtualClock : public Clock
{
public:
    // How to script the clock.

    explicit VirtualClock(std::uint32_t startTick = 0);
    /// Called on the sleeping thread at the start of each sleep. Set it before any thread sleeps.
    std::function<void(std::uint32_t ms)> onSleep;

    // What the clock recorded.

    std::vector<std::uint32_t> sleeps() const; ///< the sleeps of all threads, in order

    // The functions of Clock.

    void sleep(std::uint32_t ms) override;
    std::uint32_t tickCount() override;
    bool waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                 std::uint32_t timeoutMs, const std::function<bool()>& condition) override;

private:
    mutable std::mutex mutex;
    std::uint32_t tick;
    std::vector<std::uint32_t> slept;
};
