#include "delayedactions.h"

#include <utility>

DelayedActions::DelayedActions(SleepFunction clockSleep)
    : sleep(std::move(clockSleep))
    , thread([this] { run(); })
{
}

DelayedActions::~DelayedActions()
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        ending = true;
    }
    changed.notify_all();
    thread.join();
}

void DelayedActions::add(std::uint32_t delayMs, std::function<void()> action)
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        actions.push_back({delayMs, std::move(action)});
    }
    changed.notify_all();
}

bool DelayedActions::isIdle() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return actions.empty();
}

void DelayedActions::run()
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        changed.wait(lock, [this] { return ending || !actions.empty(); });
        if (ending)
            return;
        const Action action = actions.front();
        lock.unlock();
        sleep(action.delayMs);
        action.run();
        lock.lock();
        actions.pop_front();
    }
}
