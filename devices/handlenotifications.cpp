#include "handlenotifications_p.h"

#include <algorithm>
#include <iterator>

void HandleNotifications::add(HWND window, HANDLE handle, HandleRecord record)
{
    DEV_BROADCAST_HANDLE filter = {};
    filter.dbch_size = sizeof(filter);
    filter.dbch_devicetype = DBT_DEVTYP_HANDLE;
    filter.dbch_handle = handle;
    record.notification.reset(RegisterDeviceNotificationW(window, &filter, DEVICE_NOTIFY_WINDOW_HANDLE));
    if (record.notification)
        records.emplace(handle, std::move(record));
}

std::optional<HandleRecord> HandleNotifications::take(HANDLE handle, HDEVNOTIFY notification)
{
    const auto [first, last] = records.equal_range(handle);
    const auto found = std::find_if(
        first, last, [&](const auto& entry) { return entry.second.notification.get() == notification; });
    if (found == last)
        return std::nullopt;
    return std::move(records.extract(found).mapped());
}

void HandleNotifications::remove(HANDLE handle)
{
    const auto [first, last] = records.equal_range(handle);
    if (first != last)
        records.erase(std::prev(last)); // of several the newest: only that one's handle can be open
}

void HandleNotifications::removeAllOf(const DeviceInstance* device)
{
    for (auto record = records.begin(); record != records.end();)
        record = record->second.device == device ? records.erase(record) : std::next(record);
}
