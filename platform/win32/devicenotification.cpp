// Device notifications.

#include <windows.h>

#include <cstddef>
#include <cstring>

#include <dbt.h>

#include "file.h"
#include "handletable.h"
#include "lasterror.h"
#include "messagequeue.h"

namespace {

/// A registration for device broadcasts. Those under way when it ends still arrive, so that until then its
/// value names no other.
class Notification : public HandleObject, public DeviceTreeObserver
{
public:
    explicit Notification(HWND recipient)
        : window(recipient)
    {
    }

    std::weak_ptr<const void> valueHolder() const override { return value; }
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
        message.sender = value;
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

HDEVNOTIFY watchInterfaces(HWND window, const DEV_BROADCAST_DEVICEINTERFACE_W& filter)
{
    if (filter.dbcc_size != sizeof(filter))
        return fail(ERROR_INVALID_DATA);
    const auto notification = std::make_shared<InterfaceNotification>(window, filter.dbcc_classguid);
    currentMachine().deviceTree().observe(notification);
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
    currentMachine().deviceTree().observe(notification);
    return notification->self;
}

} // namespace

HDEVNOTIFY WINAPI RegisterDeviceNotificationW(HANDLE recipient, LPVOID filter, DWORD flags)
{
    if (flags != DEVICE_NOTIFY_WINDOW_HANDLE || !HandleTable::get<WindowObject>(recipient))
        return fail(ERROR_INVALID_PARAMETER);
    if (!isServed(SystemCall::RegisterDeviceNotificationW))
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
