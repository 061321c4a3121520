#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

/// Holds one thread in a sleep of a given length until a test opens the gate.
class Gate
{
public:
    /// Holds the next thread that sleeps for @p ms until open() is called.
    void close(std::uint32_t ms)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        heldMs = ms;
        reached = false;
        closed = true;
    }
    void open()
    {
        {
            const std::lock_guard<std::mutex> guard(mutex);
            closed = false;
        }
        changed.notify_all();
    }
    bool isReached() const
    {
        const std::lock_guard<std::mutex> guard(mutex);
        return reached;
    }

    void pass(std::uint32_t ms)
    {
        std::unique_lock<std::mutex> lock(mutex);
        if (!closed || reached || ms != heldMs)
            return;
        reached = true;
        changed.wait(lock, [this] { return !closed; });
    }

private:
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::uint32_t heldMs = 0;
    bool closed = false;
    bool reached = false;
};
