// Hidden windows, messages, the end of the session.

#include <windows.h>

#include <cstring>
#include <map>
#include <mutex>
#include <string>

#include "handletable.h"
#include "lasterror.h"
#include "messagequeue.h"
#include "session.h"
#include "toolkitwindow.h"

namespace {

struct Classes
{
    std::mutex mutex;
    std::map<std::wstring, WNDCLASSW> byName;
};

Classes& classes()
{
    static auto* const instance = new Classes;
    return *instance;
}

/// The window behind @p handle, if the calling thread owns it.
std::shared_ptr<WindowObject> ownWindow(HWND handle)
{
    auto window = HandleTable::get<WindowObject>(handle);
    if (window && window->queue == MessageQueue::ofCurrentThread())
        return window;
    return fail(ERROR_INVALID_WINDOW_HANDLE);
}

/// The storage at @p index in a window that the calling thread owns; otherwise null, with the last error set.
std::uint8_t* storageAt(HWND handle, int index)
{
    const auto window = ownWindow(handle);
    if (!window)
        return nullptr;
    if (index < 0 || static_cast<std::size_t>(index) + sizeof(LONG_PTR) > window->storage.size())
        return fail(ERROR_INVALID_INDEX);
    return window->storage.data() + index;
}

} // namespace

BOOL WINAPI GetClassInfoW(HINSTANCE, LPCWSTR className, LPWNDCLASSW windowClass)
{
    const std::lock_guard<std::mutex> guard(classes().mutex);
    const auto it = classes().byName.find(className);
    if (it == classes().byName.end())
        return fail(ERROR_CLASS_DOES_NOT_EXIST);
    *windowClass = it->second;
    return TRUE;
}

ATOM WINAPI RegisterClassW(const WNDCLASSW* windowClass)
{
    constexpr std::size_t firstAtom = 0xC000;
    if (!isServed(__func__))
        return 0;
    const std::lock_guard<std::mutex> guard(classes().mutex);
    const auto [it, inserted] = classes().byName.emplace(windowClass->lpszClassName, *windowClass);
    if (!inserted)
        return fail(ERROR_CLASS_ALREADY_EXISTS);
    it->second.lpszClassName = it->first.c_str();
    return static_cast<ATOM>(firstAtom + classes().byName.size());
}

HWND WINAPI CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR windowName, DWORD style, int x, int y,
                            int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                            LPVOID parameter)
{
    WNDCLASSW windowClass;
    if (!GetClassInfoW(instance, className, &windowClass) || !isServed(__func__))
        return nullptr;
    const auto object = std::make_shared<WindowObject>(windowClass, MessageQueue::ofCurrentThread());
    const auto window = static_cast<HWND>(HandleTable::addWindow(object));
    CREATESTRUCTW creation = {
        parameter,  instance,  menu,   parent, height, width, y, x, static_cast<LONG>(style),
        windowName, className, exStyle};
    const auto lParam = reinterpret_cast<LPARAM>(&creation);
    if (object->procedure(window, WM_NCCREATE, 0, lParam) &&
        object->procedure(window, WM_CREATE, 0, lParam) != -1)
        return window;
    DestroyWindow(window);
    return nullptr;
}

BOOL WINAPI DestroyWindow(HWND window)
{
    const auto object = ownWindow(window);
    if (!object)
        return FALSE;
    object->procedure(window, WM_DESTROY, 0, 0);
    object->procedure(window, WM_NCDESTROY, 0, 0);
    return HandleTable::take<WindowObject>(window) != nullptr;
}

LONG_PTR WINAPI SetWindowLongPtrW(HWND handle, int index, LONG_PTR value)
{
    const LONG_PTR previous = GetWindowLongPtrW(handle, index);
    if (auto* const storage = storageAt(handle, index))
        std::memcpy(storage, &value, sizeof(value));
    return previous;
}

LONG_PTR WINAPI GetWindowLongPtrW(HWND handle, int index)
{
    LONG_PTR value = 0;
    if (const auto* const storage = storageAt(handle, index))
        std::memcpy(&value, storage, sizeof(value));
    return value;
}

LRESULT WINAPI DefWindowProcW(HWND, UINT message, WPARAM, LPARAM)
{
    return message == WM_DEVICECHANGE || message == WM_NCCREATE; // grants every query
}

BOOL WINAPI GetMessageW(LPMSG message, HWND window, UINT filterMin, UINT filterMax)
{
    if (window || filterMin != 0 || filterMax != 0)
        return fail(ERROR_INVALID_PARAMETER, -1); // filters are not modelled
    *message = MessageQueue::ofCurrentThread()->next();
    return message->message != WM_QUIT;
}

LRESULT WINAPI DispatchMessageW(const MSG* message)
{
    if (!message->hwnd)
        return 0;
    const auto window = ownWindow(message->hwnd);
    return window ? window->procedure(message->hwnd, message->message, message->wParam, message->lParam) : 0;
}

BOOL WINAPI PostThreadMessageW(DWORD threadId, UINT message, WPARAM wParam, LPARAM lParam)
{
    const auto queue = MessageQueue::ofThread(threadId);
    if (!queue)
        return fail(ERROR_INVALID_THREAD_ID);
    MSG posted = {};
    posted.message = message;
    posted.wParam = wParam;
    posted.lParam = lParam;
    posted.time = GetTickCount();
    queue->post(posted);
    return TRUE;
}

BOOL WINAPI ShutdownBlockReasonCreate(HWND window, LPCWSTR reason)
{
    if (!ToolkitWindow::isOfCurrentThread(window))
        return FALSE;
    return currentMachine().session->setBlockReason(window, reason) || fail(ERROR_NOT_SUPPORTED);
}

BOOL WINAPI ShutdownBlockReasonDestroy(HWND window)
{
    if (!ToolkitWindow::isOfCurrentThread(window))
        return FALSE;
    return currentMachine().session->removeBlockReason(window) || fail(ERROR_INVALID_WINDOW_HANDLE);
}
