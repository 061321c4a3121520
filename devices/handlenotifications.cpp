#include "handlenotifications_p.h"

#include <algorithm>

#include "devicehandle.h"

namespace {

auto isOf(const DeviceHandle& handle)
{
    return [&handle](const HandleRecord& record) { return record.handle.get() == &handle; };
}

} // namespace

template <typename Matches>
void HandleNotifications::removeIf(Matches matches)
{
    records.erase(std::remove_if(records.begin(), records.end(), matches), records.end());
}

void HandleNotifications::add(HWND window, HandleRecord record)
{
    DEV_BROADCAST_HANDLE filter = {};
    filter.dbch_size = sizeof(filter);
    filter.dbch_devicetype = DBT_DEVTYP_HANDLE;
    filter.dbch_handle = record.handle->value();
    record.notification.reset(RegisterDeviceNotificationW(window, &filter, DEVICE_NOTIFY_WINDOW_HANDLE));
    records.push_back(std::move(record));
}

std::shared_ptr<DeviceHandle> HandleNotifications::find(HANDLE value, HDEVNOTIFY notification) const
{
    const auto found = std::find_if(records.begin(), records.end(), [&](const HandleRecord& record) {
        return record.handle->value() == value && record.notification.get() == notification;
    });
    return found == records.end() ? nullptr : found->handle;
}

HandleRecord HandleNotifications::take(const DeviceHandle& handle)
{
    const auto found = std::find_if(records.begin(), records.end(), isOf(handle));
    HandleRecord taken = std::move(*found);
    records.erase(found);
    return taken;
}

void HandleNotifications::remove(const DeviceHandle& handle)
{
    removeIf(isOf(handle));
}

void HandleNotifications::remove(HANDLE value)
{
    removeIf([value](const HandleRecord& record) {
        return record.handle->value() == value && record.handle->isOpen();
    });
}

void HandleNotifications::removeReopenedOf(const DeviceInstance* device)
{
    removeIf([device](const HandleRecord& record) { return record.isReopened && record.device == device; });
}

void HandleNotifications::removeAllOf(const DeviceInstance* device)
{
    removeIf([device](const HandleRecord& record) { return record.device == device; });
}
