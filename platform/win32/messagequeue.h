#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <vector>

#include <windows.h>

#include "handletable.h"

/// A message that another thread sends to a window. The window's thread handles the message in GetMessageW.
struct SentMessage
{
    HWND window = nullptr;
    UINT message = 0;
    WPARAM wParam = 0;
    std::vector<std::uint8_t> data;     ///< what lParam points to
    std::shared_ptr<const void> sender; ///< kept alive until the message was handled
    std::promise<void> handled;         ///< broken if the message is never handled
};

/// The messages of one thread.
class MessageQueue
{
public:
    /// The calling thread's queue, created on first use.
    static std::shared_ptr<MessageQueue> ofCurrentThread();
    /// The queue of the thread @p threadId; null if the thread has no queue or has ended.
    static std::shared_ptr<MessageQueue> ofThread(DWORD threadId);

    void post(const MSG& message);
    /// @return a future that becomes ready when @p message was handled or can no longer be handled.
    std::future<void> send(SentMessage message);
    /// Returns the next posted message. Handles all sent messages first, and waits if no message is posted.
    MSG next();
    /// Called when the thread ends. Drops the sent messages in the queue, and those that are sent later.
    void close();

private:
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<MSG> posted;
    std::deque<SentMessage> sent;
    bool closed = false;
};

/// A hidden top-level window.
class WindowObject : public HandleObject
{
public:
    WindowObject(const WNDCLASSW& windowClass, std::shared_ptr<MessageQueue> ownersQueue)
        : procedure(windowClass.lpfnWndProc)
        , extra(static_cast<std::size_t>(windowClass.cbWndExtra) / sizeof(LONG_PTR))
        , queue(std::move(ownersQueue))
    {
    }

    const WNDPROC procedure;
    std::vector<LONG_PTR> extra; ///< values that SetWindowLongPtrW sets; only the owning thread uses them
    const std::shared_ptr<MessageQueue> queue;
};
