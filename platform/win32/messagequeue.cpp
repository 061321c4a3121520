#include "messagequeue.h"

#include <map>

namespace {

struct Registry
{
    std::mutex mutex;
    std::map<DWORD, std::weak_ptr<MessageQueue>> queues;
};

Registry& registry()
{
    static auto* const instance = new Registry; // never destroyed, because threads may outlive main()
    return *instance;
}

/// The queue of one thread. The end of the thread closes the queue.
struct OwnQueue
{
    const DWORD thread = GetCurrentThreadId();
    const std::shared_ptr<MessageQueue> queue = std::make_shared<MessageQueue>();

    OwnQueue()
    {
        const std::lock_guard<std::mutex> guard(registry().mutex);
        registry().queues[thread] = queue;
    }
    ~OwnQueue()
    {
        queue->close();
        const std::lock_guard<std::mutex> guard(registry().mutex);
        registry().queues.erase(thread);
    }
};

} // namespace

std::shared_ptr<MessageQueue> MessageQueue::ofCurrentThread()
{
    static thread_local OwnQueue own;
    return own.queue;
}

std::shared_ptr<MessageQueue> MessageQueue::ofThread(DWORD threadId)
{
    const std::lock_guard<std::mutex> guard(registry().mutex);
    const auto it = registry().queues.find(threadId);
    return it == registry().queues.end() ? nullptr : it->second.lock();
}

void MessageQueue::post(const MSG& message)
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        posted.push_back(message);
    }
    changed.notify_all();
}

std::future<void> MessageQueue::send(SentMessage message)
{
    auto handled = message.handled.get_future();
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (!closed)
            sent.push_back(std::move(message));
    }
    changed.notify_all();
    return handled;
}

MSG MessageQueue::next()
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        changed.wait(lock, [this] { return !sent.empty() || !posted.empty(); });
        if (sent.empty()) {
            const MSG message = posted.front();
            posted.pop_front();
            return message;
        }
        SentMessage message = std::move(sent.front());
        sent.pop_front();
        lock.unlock();
        if (const auto window = HandleTable::get<WindowObject>(message.window))
            window->procedure(message.window, message.message, message.wParam,
                              reinterpret_cast<LPARAM>(message.data.data()));
        message.handled.set_value();
        lock.lock();
    }
}

void MessageQueue::close()
{
    const std::lock_guard<std::mutex> guard(mutex);
    closed = true;
    sent.clear(); // the futures from send() become ready
}
