#pragma once

#include <memory>
#include <vector>

#include <windows.h>

#include <dbt.h>

class DeviceHandle;
class DeviceInstance;

struct NotificationDeleter
{
    void operator()(HDEVNOTIFY notification) const { UnregisterDeviceNotification(notification); }
};
/// A registration for device-change broadcasts.
using DeviceNotification = std::unique_ptr<void, NotificationDeleter>;

struct HandleRecord
{
    std::shared_ptr<DeviceHandle> handle; ///< also owned by its borrower, unless it was reopened
    bool isReopened;
    DeviceInstance* device; ///< borrowed from the known devices
    DWORD desiredAccess;    ///< CreateFileW's argument, as are the next two
    DWORD shareMode;
    DWORD flagsAndAttributes;
    DeviceNotification notification = {}; ///< null if the system refused to watch the handle
};

/// The handles that a detector watches because it has lent or reopened them. The detector's lock guards
/// the object.
///
/// The handles of two records may have the same value, because the system may reuse a closed handle's value
/// before it reports whether the removal was refused. At most one of the two handles is open.
class HandleNotifications
{
public:
    /// Adds a record and lets the system send broadcasts about its handle to @p window.
    void add(HWND window, HandleRecord record);

    /// Finds the handle to which a broadcast refers by @p value and @p notification; null if there is none.
    std::shared_ptr<DeviceHandle> find(HANDLE value, HDEVNOTIFY notification) const;

    /// Removes and returns the record of @p handle, which must have one.
    HandleRecord take(const DeviceHandle& handle);

    /// Stops watching @p handle, whether it is open or closed.
    void remove(const DeviceHandle& handle);
    /// Stops watching the open handle with the value @p value.
    void remove(HANDLE value);

    /// Closes the handle that was reopened for @p device.
    void removeReopenedOf(const DeviceInstance* device);

    void removeAllOf(const DeviceInstance* device);

    void clear() { records.clear(); }

private:
    template <typename Matches>
    void removeIf(Matches matches);

    std::vector<HandleRecord> records;
};
