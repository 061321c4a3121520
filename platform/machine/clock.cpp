#include "clock.h"

#include <chrono>

void RealClock::sleep(std::uint32_t ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

std::uint32_t RealClock::tickCount()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

bool RealClock::waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                        std::uint32_t timeoutMs, const std::function<bool()>& condition)
{
    // A wait against the system clock: thread sanitizer does not know the steady clock's variant.
    return changed.wait_until(lock, std::chrono::system_clock::now() + std::chrono::milliseconds(timeoutMs),
                              condition);
}

VirtualClock::VirtualClock(std::uint32_t startTick)
    : tick(startTick)
{
}

std::vector<std::uint32_t> VirtualClock::sleeps() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    std::vector<std::uint32_t> result;
    for (const Slept& entry : slept)
        result.push_back(entry.ms);
    return result;
}

std::vector<std::uint32_t> VirtualClock::sleepsOf(std::thread::id thread) const
{
    const std::lock_guard<std::mutex> guard(mutex);
    std::vector<std::uint32_t> result;
    for (const Slept& entry : slept) {
        if (entry.thread == thread)
            result.push_back(entry.ms);
    }
    return result;
}

void VirtualClock::sleep(std::uint32_t ms)
{
    if (onSleep)
        onSleep(ms);
    const std::lock_guard<std::mutex> guard(mutex);
    tick += ms;
    slept.push_back({std::this_thread::get_id(), ms});
}

std::uint32_t VirtualClock::tickCount()
{
    const std::lock_guard<std::mutex> guard(mutex);
    return tick;
}

bool VirtualClock::waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable&,
                           std::uint32_t timeoutMs, const std::function<bool()>& condition)
{
    if (condition())
        return true;
    lock.unlock();
    {
        const std::lock_guard<std::mutex> guard(mutex);
        tick += timeoutMs;
    }
    std::this_thread::yield();
    lock.lock();
    return condition();
}
