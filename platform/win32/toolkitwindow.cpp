#include "toolkitwindow.h"

#include <map>
#include <mutex>

#include "currentthread.h"
#include "lasterror.h"

namespace {

struct Windows
{
    std::mutex mutex;
    std::map<HWND, DWORD> threads; ///< the thread that made each window
};

Windows& windows()
{
    static auto* const instance = new Windows; // outlives every thread
    return *instance;
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

bool ToolkitWindow::isOfCurrentThread(HWND window)
{
    const std::lock_guard<std::mutex> guard(windows().mutex);
    const auto found = windows().threads.find(window);
    if (found == windows().threads.end())
        return fail(ERROR_INVALID_WINDOW_HANDLE);
    return found->second == CurrentThread::id || fail(ERROR_ACCESS_DENIED);
}
