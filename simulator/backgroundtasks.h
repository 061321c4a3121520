#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <list>
#include <mutex>
#include <utility>

/// Tasks on threads of their own; its end waits for theirs. All operations may be called on any thread.
class BackgroundTasks
{
public:
    void start(std::function<void()> task)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        tasks.remove_if(isOver);
        tasks.push_back(std::async(std::launch::async, std::move(task)));
    }

    bool areOver() const
    {
        const std::lock_guard<std::mutex> guard(mutex);
        return std::all_of(tasks.begin(), tasks.end(), isOver);
    }

private:
    static bool isOver(const std::future<void>& task)
    {
        return task.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }

    mutable std::mutex mutex; ///< guards what follows
    std::list<std::future<void>> tasks;
};
