#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// The machine's time. All operations may be called on any thread.
class Clock
{
public:
    virtual ~Clock() = default;

    /// Blocks the calling thread for @p ms milliseconds of this clock.
    virtual void sleep(std::uint32_t ms) = 0;

    /// Milliseconds since some start; wraps at 2^32.
    virtual std::uint32_t tickCount() = 0;

    /// Waits until @p condition holds, but at most @p timeoutMs of this clock. @p lock is held on entry, on
    /// return and whenever @p condition is asked; @p changed is notified after every change of it.
    /// @return whether the condition holds.
    virtual bool waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                         std::uint32_t timeoutMs, const std::function<bool()>& condition) = 0;
};

/// The clock on the wall.
class RealClock : public Clock
{
public:
    void sleep(std::uint32_t ms) override;
    std::uint32_t tickCount() override;
    bool waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                 std::uint32_t timeoutMs, const std::function<bool()>& condition) override;
};

/// A clock on which every wait is over at once: sleeping moves the tick and is recorded.
class VirtualClock : public Clock
{
public:
    // How to script it.

    explicit VirtualClock(std::uint32_t startTick = 0);
    /// Called on the sleeping thread at the begin of each sleep; to be set before any thread sleeps.
    std::function<void(std::uint32_t ms)> onSleep;

    // What it recorded.

    std::vector<std::uint32_t> sleeps() const;                         ///< of all threads, in order
    std::vector<std::uint32_t> sleepsOf(std::thread::id thread) const; ///< of one thread, in order

    // What it serves.

    void sleep(std::uint32_t ms) override;
    std::uint32_t tickCount() override;
    bool waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                 std::uint32_t timeoutMs, const std::function<bool()>& condition) override;

private:
    struct Slept
    {
        std::thread::id thread;
        std::uint32_t ms;
    };

    mutable std::mutex mutex;
    std::uint32_t tick;
    std::vector<Slept> slept;
};
