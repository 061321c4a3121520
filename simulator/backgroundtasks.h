#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <list>
#include <mutex>
#include <utility>

/// Runs each task on a thread of its own. The destructor waits until all tasks have ended. Any thread may
/// call any operation.
class BackgroundTasks
{
public:
    /// Starts @p task. @return a future that is ready when the task has ended.
    std::shared_future<void> start(std::function<void()> task)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        tasks.remove_if(isOver);
        tasks.push_back(std::async(std::launch::async, std::move(task)).share());
        return tasks.back();
    }

    bool areOver() const
    {
        const std::lock_guard<std::mutex> guard(mutex);
        return std::all_of(tasks.begin(), tasks.end(), isOver);
    }

private:
    static bool isOver(const std::shared_future<void>& task)
    {
        return task.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }

    mutable std::mutex mutex; ///< guards what follows
    std::list<std::shared_future<void>> tasks;
};
