#include <windows.h>

#include <cstddef>
#include <cstring>

#include <dbt.h>

#include "file.h"
#include "handletable.h"
#include "lasterror.h"
#include "messagequeue.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

/// A registration for device broadcasts. When it ends, broadcasts that are already queued still arrive. Its
/// handle's value is not reused before that.
class Notification : public HandleObject, public DeviceTreeObserver
{
public:
    explicit Notification(HWND recipient)
        : window(recipient)
    {
    }

    std::weak_ptr<const void> valueHolder() const override { return value; }

    std::future<void> onEvent(WPARAM event, const DeviceNode& node) override
    {
        SentMessage message;
        message.window = window;
        message.message = WM_DEVICECHANGE;
        message.wParam = event;
        message.data = event == DBT_DEVNODES_CHANGED ? Bytes() : dataOf(event, node);
        message.sender = value;
        const auto recipient = std::dynamic_pointer_cast<WindowObject>(HandleTable::find(window));
        if (recipient && (event == DBT_DEVNODES_CHANGED || !message.data.empty()))
            return recipient->queue->send(std::move(message));
        return message.handled.get_future(); // dropping the message makes the future ready
    }

protected:
    /// @return what the message's lParam points to; empty if this registration does not cover @p event.
    virtual Bytes dataOf(WPARAM event, const DeviceNode& node) const = 0;

private:
    const HWND window;
    const std::shared_ptr<const void> value = std::make_shared<char>();
};

class InterfaceNotification : public Notification
{
public:
    InterfaceNotification(HWND recipient, const GUID& guid)
        : Notification(recipient)
        , interfaceClass(guid)
    {
    }

    bool watchesFile() const override { return false; }

private:
    Bytes dataOf(WPARAM event, const DeviceNode& node) const override
    {
        if (node.interfaceClass != interfaceClass ||
            (event != DBT_DEVICEARRIVAL && event != DBT_DEVICEREMOVECOMPLETE))
            return {};
        const std::wstring& name = node.interfacePath;
        DEV_BROADCAST_DEVICEINTERFACE_W header = {};
        const std::size_t nameOffset = offsetof(DEV_BROADCAST_DEVICEINTERFACE_W, dbcc_name);
        const std::size_t nameBytes = (name.size() + 1) * sizeof(wchar_t);
        header.dbcc_size = static_cast<DWORD>(nameOffset + nameBytes);
        header.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
        header.dbcc_classguid = node.interfaceClass;
        Bytes data(std::max(sizeof(header), nameOffset + nameBytes));
        std::memcpy(data.data(), &header, sizeof(header));
        std::memcpy(data.data() + nameOffset, name.c_str(), nameBytes);
        return data;
    }

    const GUID interfaceClass;
};

class HandleNotification : public Notification
{
public:
    HandleNotification(HWND recipient, HANDLE watchedHandle, const FileObject& watchedFile)
        : Notification(recipient)
        , handle(watchedHandle)
        , watched(&watchedFile.file->node())
    {
    }

    bool watchesFile() const override { return true; }

    HDEVNOTIFY self = nullptr;

private:
    Bytes dataOf(WPARAM event, const DeviceNode& node) const override
    {
        if (&node != watched || event == DBT_DEVICEARRIVAL)
            return {};
        DEV_BROADCAST_HANDLE header = {};
        header.dbch_size = sizeof(header);
        header.dbch_devicetype = DBT_DEVTYP_HANDLE;
        header.dbch_handle = handle;
        header.dbch_hdevnotify = self;
        Bytes data(sizeof(header));
        std::memcpy(data.data(), &header, sizeof(header));
        return data;
    }

    const HANDLE handle;
    const DeviceNode* const watched; ///< only compared, never dereferenced, because it may dangle
};

HDEVNOTIFY watchInterfaces(HWND window, const DEV_BROADCAST_DEVICEINTERFACE_W& filter)
{
    if (filter.dbcc_size != sizeof(filter))
        return fail(ERROR_INVALID_DATA);
    const auto notification = std::make_shared<InterfaceNotification>(window, filter.dbcc_classguid);
    currentMachine().devices->observe(notification);
    return HandleTable::add(notification);
}

HDEVNOTIFY watchHandle(HWND window, const DEV_BROADCAST_HANDLE& filter)
{
    if (filter.dbch_size != sizeof(filter))
        return fail(ERROR_INVALID_DATA);
    const auto file = HandleTable::get<FileObject>(filter.dbch_handle);
    if (!file)
        return nullptr;
    const auto notification = std::make_shared<HandleNotification>(window, filter.dbch_handle, *file);
    notification->self = HandleTable::add(notification);
    currentMachine().devices->observe(notification);
    return notification->self;
}

} // namespace

HDEVNOTIFY WINAPI RegisterDeviceNotificationW(HANDLE recipient, LPVOID filter, DWORD flags)
{
    if (flags != DEVICE_NOTIFY_WINDOW_HANDLE || !HandleTable::get<WindowObject>(recipient))
        return fail(ERROR_INVALID_PARAMETER);
    if (!isServed(__func__))
        return nullptr;
    const auto window = static_cast<HWND>(recipient);
    const auto* const header = static_cast<const DEV_BROADCAST_HDR*>(filter);
    if (header->dbch_devicetype == DBT_DEVTYP_DEVICEINTERFACE)
        return watchInterfaces(window, *static_cast<const DEV_BROADCAST_DEVICEINTERFACE_W*>(filter));
    if (header->dbch_devicetype == DBT_DEVTYP_HANDLE)
        return watchHandle(window, *static_cast<const DEV_BROADCAST_HANDLE*>(filter));
    return fail(ERROR_INVALID_DATA);
}

BOOL WINAPI UnregisterDeviceNotification(HDEVNOTIFY handle)
{
    return HandleTable::take<Notification>(handle) != nullptr;
}
