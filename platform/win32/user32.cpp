// Hidden windows, messages, device notifications, the end of the session.

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <map>
#include <mutex>
#include <string>

#include <dbt.h>

#include "currentthread.h"
#include "file.h"
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

/// The window behind @p handle, if the calling thread owns it.
std::shared_ptr<WindowObject> ownWindow(HWND handle)
{
    auto window = HandleTable::get<WindowObject>(handle);
    if (window && window->queue == MessageQueue::ofCurrentThread())
        return window;
    return fail(ERROR_INVALID_WINDOW_HANDLE);
}

bool isStorageIndex(const WindowObject& window, int index)
{
    return index >= 0 && static_cast<std::size_t>(index) + sizeof(LONG_PTR) <= window.storage.size();
}

/// A registration for device broadcasts.
class Notification : public HandleObject, public DeviceTreeObserver
{
public:
    explicit Notification(HWND recipient)
        : window(recipient)
    {
    }

    bool watchesFile() const override { return false; }
    void treeChanges() override { static_cast<void>(broadcast(DBT_DEVNODES_CHANGED, {})); }
    void arrived(const DeviceNode&) override {}
    void removalQueried(const DeviceNode&) override {}
    void removalCancelled(const DeviceNode&) override {}

protected:
    std::future<void> broadcast(WPARAM event, std::vector<std::uint8_t> data)
    {
        const auto recipient = std::dynamic_pointer_cast<WindowObject>(HandleTable::find(window));
        SentMessage message;
        message.window = window;
        message.message = WM_DEVICECHANGE;
        message.wParam = event;
        message.data = std::move(data);
        if (recipient)
            return recipient->queue->send(std::move(message));
        return alreadyHandled();
    }

    static std::future<void> alreadyHandled()
    {
        std::promise<void> nothing;
        nothing.set_value();
        return nothing.get_future();
    }

private:
    const HWND window;
};

class InterfaceNotification : public Notification
{
public:
    InterfaceNotification(HWND recipient, const GUID& guid)
        : Notification(recipient)
        , interfaceClass(guid)
    {
    }

    void arrived(const DeviceNode& node) override
    {
        static_cast<void>(report(DBT_DEVICEARRIVAL, node)); // nobody waits for it
    }
    std::future<void> removed(const DeviceNode& node) override
    {
        return report(DBT_DEVICEREMOVECOMPLETE, node);
    }

private:
    std::future<void> report(WPARAM event, const DeviceNode& node)
    {
        if (node.interfaceClass != interfaceClass)
            return alreadyHandled();
        const std::wstring& name = node.interfacePath;
        DEV_BROADCAST_DEVICEINTERFACE_W header = {};
        const std::size_t nameOffset = offsetof(DEV_BROADCAST_DEVICEINTERFACE_W, dbcc_name);
        const std::size_t nameBytes = (name.size() + 1) * sizeof(wchar_t);
        header.dbcc_size = static_cast<DWORD>(nameOffset + nameBytes);
        header.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
        header.dbcc_classguid = node.interfaceClass;
        std::vector<std::uint8_t> data(std::max(sizeof(header), nameOffset + nameBytes));
        std::memcpy(data.data(), &header, sizeof(header));
        std::memcpy(data.data() + nameOffset, name.c_str(), nameBytes);
        return broadcast(event, std::move(data));
    }

    const GUID interfaceClass;
};

class HandleNotification : public Notification
{
public:
    HandleNotification(HWND recipient, HANDLE watchedHandle, const FileObject& watchedFile)
        : Notification(recipient)
        , handle(watchedHandle)
        , node(&watchedFile.file->node())
    {
    }

    bool watchesFile() const override { return true; }
    std::future<void> removed(const DeviceNode& gone) override
    {
        return report(DBT_DEVICEREMOVECOMPLETE, gone);
    }
    void removalQueried(const DeviceNode& asked) override { report(DBT_DEVICEQUERYREMOVE, asked).wait(); }
    void removalCancelled(const DeviceNode& kept) override
    {
        report(DBT_DEVICEQUERYREMOVEFAILED, kept).wait();
    }

    HDEVNOTIFY self = nullptr;

private:
    std::future<void> report(WPARAM event, const DeviceNode& affected)
    {
        if (&affected != node)
            return alreadyHandled();
        DEV_BROADCAST_HANDLE header = {};
        header.dbch_size = sizeof(header);
        header.dbch_devicetype = DBT_DEVTYP_HANDLE;
        header.dbch_handle = handle;
        header.dbch_hdevnotify = self;
        std::vector<std::uint8_t> data(sizeof(header));
        std::memcpy(data.data(), &header, sizeof(header));
        return broadcast(event, std::move(data));
    }

    const HANDLE handle;
    const DeviceNode* const node; ///< compared, never read
};

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
    if (!isServed(SystemCall::RegisterClassW))
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
    if (!GetClassInfoW(instance, className, &windowClass) || !isServed(SystemCall::CreateWindowExW))
        return nullptr;
    return static_cast<HWND>(
        HandleTable::add(std::make_shared<WindowObject>(windowClass, MessageQueue::ofCurrentThread())));
}

BOOL WINAPI DestroyWindow(HWND window)
{
    return ownWindow(window) && HandleTable::remove(window);
}

LONG_PTR WINAPI SetWindowLongPtrW(HWND handle, int index, LONG_PTR value)
{
    const auto window = ownWindow(handle);
    if (!window)
        return 0;
    if (!isStorageIndex(*window, index))
        return fail(ERROR_INVALID_INDEX);
    const LONG_PTR previous = GetWindowLongPtrW(handle, index);
    std::memcpy(window->storage.data() + index, &value, sizeof(value));
    return previous;
}

LONG_PTR WINAPI GetWindowLongPtrW(HWND handle, int index)
{
    const auto window = ownWindow(handle);
    if (!window)
        return 0;
    if (!isStorageIndex(*window, index))
        return fail(ERROR_INVALID_INDEX);
    LONG_PTR value = 0;
    std::memcpy(&value, window->storage.data() + index, sizeof(value));
    return value;
}

LRESULT WINAPI DefWindowProcW(HWND, UINT message, WPARAM, LPARAM)
{
    return message == WM_DEVICECHANGE ? TRUE : 0; // TRUE grants every query
}

BOOL WINAPI GetMessageW(LPMSG message, HWND window, UINT filterMin, UINT filterMax)
{
    if (window || filterMin != 0 || filterMax != 0) {
        SetLastError(ERROR_INVALID_PARAMETER); // filters are not modelled
        return -1;
    }
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

HDEVNOTIFY WINAPI RegisterDeviceNotificationW(HANDLE recipient, LPVOID filter, DWORD flags)
{
    if (flags != DEVICE_NOTIFY_WINDOW_HANDLE || !HandleTable::get<WindowObject>(recipient))
        return fail(ERROR_INVALID_PARAMETER);
    if (!isServed(SystemCall::RegisterDeviceNotificationW))
        return nullptr;
    const auto window = static_cast<HWND>(recipient);
    const auto* const header = static_cast<const DEV_BROADCAST_HDR*>(filter);
    if (header->dbch_devicetype == DBT_DEVTYP_DEVICEINTERFACE &&
        header->dbch_size >= offsetof(DEV_BROADCAST_DEVICEINTERFACE_W, dbcc_name)) {
        const auto& wanted = *static_cast<const DEV_BROADCAST_DEVICEINTERFACE_W*>(filter);
        const auto notification = std::make_shared<InterfaceNotification>(window, wanted.dbcc_classguid);
        currentMachine().deviceTree().observe(notification);
        return HandleTable::add(notification);
    }
    if (header->dbch_devicetype == DBT_DEVTYP_HANDLE &&
        header->dbch_size >= offsetof(DEV_BROADCAST_HANDLE, dbch_hdevnotify)) {
        const HANDLE watched = static_cast<const DEV_BROADCAST_HANDLE*>(filter)->dbch_handle;
        const auto file = HandleTable::get<FileObject>(watched);
        if (!file)
            return nullptr;
        const auto notification = std::make_shared<HandleNotification>(window, watched, *file);
        notification->self = HandleTable::add(notification);
        currentMachine().deviceTree().observe(notification);
        return notification->self;
    }
    return fail(ERROR_INVALID_DATA);
}

BOOL WINAPI UnregisterDeviceNotification(HDEVNOTIFY handle)
{
    return HandleTable::take<Notification>(handle) != nullptr;
}

BOOL WINAPI ShutdownBlockReasonCreate(HWND window, LPCWSTR reason)
{
    if (!window)
        return fail(ERROR_INVALID_WINDOW_HANDLE);
    if (currentMachine().session().setBlockReason(window, reason))
        return TRUE;
    return fail(ERROR_NOT_SUPPORTED);
}

BOOL WINAPI ShutdownBlockReasonDestroy(HWND window)
{
    if (currentMachine().session().removeBlockReason(window))
        return TRUE;
    return fail(ERROR_INVALID_WINDOW_HANDLE);
}
