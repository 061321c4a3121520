// Implements the functions of user32 for hidden windows and for messages.

#include <windows.h>

#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "handletable.h"
#include "lasterror.h"
#include "messagequeue.h"

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

/// @return the window with the handle @p handle. If the calling thread does not own such a window, sets the
/// last error and returns null.
std::shared_ptr<WindowObject> ownWindow(HWND handle)
{
    auto window = HandleTable::get<WindowObject>(handle);
    if (window && window->queue == MessageQueue::ofCurrentThread())
        return window;
    return fail(ERROR_INVALID_WINDOW_HANDLE);
}

/// @return the extra value at @p index of the window with the handle @p handle. If the window has no such
/// value, or the calling thread does not own the window, sets the last error and returns null.
LONG_PTR* extraValue(HWND handle, int index)
{
    const auto window = ownWindow(handle);
    if (!window)
        return nullptr;
    if (index != 0 || window->extra.empty())
        return fail(ERROR_INVALID_INDEX); // only the value at index 0 is modelled
    return window->extra.data();
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

HWND WINAPI CreateWindowExW(DWORD, LPCWSTR className, LPCWSTR, DWORD, int, int, int, int, HWND, HMENU,
                            HINSTANCE instance, LPVOID)
{
    WNDCLASSW windowClass;
    if (!GetClassInfoW(instance, className, &windowClass) || !isServed(__func__))
        return nullptr;
    const auto object = std::make_shared<WindowObject>(windowClass, MessageQueue::ofCurrentThread());
    const auto window = static_cast<HWND>(HandleTable::addWindow(object));
    // On Windows lParam points to a CREATESTRUCT. This layer passes 0.
    if (object->procedure(window, WM_NCCREATE, 0, 0) && object->procedure(window, WM_CREATE, 0, 0) != -1)
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
    LONG_PTR* const extra = extraValue(handle, index);
    return extra ? std::exchange(*extra, value) : 0;
}

LONG_PTR WINAPI GetWindowLongPtrW(HWND handle, int index)
{
    if (!isServed(__func__))
        return 0;
    const LONG_PTR* const extra = extraValue(handle, index);
    return extra ? *extra : 0;
}

LRESULT WINAPI DefWindowProcW(HWND, UINT message, WPARAM, LPARAM)
{
    // TRUE allows the removal of a device (WM_DEVICECHANGE) and the creation of the window (WM_NCCREATE).
    return message == WM_DEVICECHANGE || message == WM_NCCREATE;
}

BOOL WINAPI GetMessageW(LPMSG message, HWND window, UINT filterMin, UINT filterMax)
{
    if (window || filterMin != 0 || filterMax != 0)
        return fail(ERROR_INVALID_PARAMETER, -1); // filters are not modelled
    *message = MessageQueue::ofCurrentThread()->next();
    return message->message != WM_QUIT;
}

LRESULT WINAPI DispatchMessageW(const MSG*)
{
    return 0; // nothing to dispatch, because messages are posted to threads only, never to windows
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
    queue->post(posted);
    return TRUE;
}
