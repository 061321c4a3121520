#include "toolkitwindow.h"

#include <map>
#include <mutex>

#include "currentthread.h"
#include "lasterror.h"

namespace {

struct Windows
{
    std::mutex mutex;
    std::map<HWND, DWORD> threads;
};

Windows& windows()
{
    static auto* const instance = new Windows; // outlives every thread
    return *instance;
}

/// The thread that made the window; 0, with the last error set, where there is none.
DWORD threadOf(HWND window)
{
    const std::lock_guard<std::mutex> guard(windows().mutex);
    const auto it = windows().threads.find(window);
    if (it == windows().threads.end())
        return fail(ERROR_INVALID_WINDOW_HANDLE);
    return it->second;
}

} // namespace

void ToolkitWindow::opened(HWND window)
{
    const std::lock_guard<std::mutex> guard(windows().mutex);
    windows().threads[window] = CurrentThread::id;
}

void ToolkitWindow::closed(HWND window)
{
    const std::lock_guard<std::mutex> guard(windows().mutex);
    windows().threads.erase(window);
}

bool ToolkitWindow::exists(HWND window)
{
    return threadOf(window) != 0;
}

bool ToolkitWindow::isOfCurrentThread(HWND window)
{
    const DWORD thread = threadOf(window);
    return thread == CurrentThread::id || (thread != 0 && fail(ERROR_ACCESS_DENIED));
}
