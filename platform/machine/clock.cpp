#include "clock.h"

#include <algorithm>
#include <chrono>

namespace {

/// Returns the end of a wait that starts now and lasts for @p duration. The system clock is used because the
/// thread sanitizer does not support waits on the steady clock.
template <typename Duration>
std::chrono::system_clock::time_point systemTimeIn(Duration duration)
{
    using SystemClock = std::chrono::system_clock;
    return SystemClock::now() + std::chrono::duration_cast<SystemClock::duration>(duration);
}

} // namespace

void Clock::sleep(std::uint32_t ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

std::uint32_t Clock::tickCount()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

bool Clock::waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                    std::uint32_t timeoutMs, const std::function<bool()>& condition)
{
    return changed.wait_until(lock, systemTimeIn(std::chrono::milliseconds(timeoutMs)), condition);
}

ScaledClock::ScaledClock(double clockSpeed)
    : speed(clockSpeed)
{
}

void ScaledClock::setSpeed(double clockSpeed)
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        changeTime = now();
        changeWallTime = Wall::now();
        speed = clockSpeed;
    }
    speedChanged.notify_all();
}

/// Returns the time of this clock, in milliseconds. The caller holds the mutex.
double ScaledClock::now() const
{
    return changeTime + Duration(Wall::now() - changeWallTime).count() * speed;
}

/// Returns the real time that passes until this clock shows @p time. The caller holds the mutex.
ScaledClock::Duration ScaledClock::untilWallShows(double time) const
{
    return Duration((time - now()) / speed);
}

void ScaledClock::sleep(std::uint32_t ms)
{
    constexpr Duration shortest(1);
    std::unique_lock<std::mutex> lock(mutex);
    const double end = now() + ms;
    const auto earliestEnd = Wall::now() + shortest;
    while (ms > 0) {
        const Duration left = std::max<Duration>(untilWallShows(end), earliestEnd - Wall::now());
        if (left <= Duration::zero())
            return;
        speedChanged.wait_until(lock, systemTimeIn(left));
    }
}

std::uint32_t ScaledClock::tickCount()
{
    const std::lock_guard<std::mutex> guard(mutex);
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(now()));
}

bool ScaledClock::waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                          std::uint32_t timeoutMs, const std::function<bool()>& condition)
{
    constexpr Duration patience(20); // longest wait until the loop notices a change of speed
    const auto left = [this](double end) {
        const std::lock_guard<std::mutex> guard(mutex);
        return untilWallShows(end);
    };
    const double end = [this] {
        const std::lock_guard<std::mutex> guard(mutex);
        return now();
    }() + timeoutMs;
    while (left(end) > Duration::zero()) {
        if (changed.wait_until(lock, systemTimeIn(std::min(left(end), patience)), condition))
            return true;
    }
    return condition();
}

VirtualClock::VirtualClock(std::uint32_t startTick)
    : tick(startTick)
{
}

std::vector<std::uint32_t> VirtualClock::sleeps() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return slept;
}

void VirtualClock::sleep(std::uint32_t ms)
{
    if (onSleep)
        onSleep(ms);
    const std::lock_guard<std::mutex> guard(mutex);
    tick += std::max<std::uint32_t>(ms, 1);
    slept.push_back(ms);
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
