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
    std::shared_ptr<DeviceHandle> handle; ///< shared with its borrower, unless it was reopened
    bool isReopened;
    DeviceInstance* device; ///< borrowed from the known devices
    DWORD desiredAccess;    ///< as CreateFileW takes them
    DWORD shareMode;
    DWORD flagsAndAttributes;
    DeviceNotification notification = {}; ///< null if the system refused to watch the handle
};

/// The handles that a detector has lent out or reopened, and watches. The detector's lock guards it.
///
/// Two records may have handles of one value, because the system gives the value of a closed handle away
/// before it reports whether the removal was refused. At most one of them is open.
class HandleNotifications
{
public:
    /// Adds a record and lets the system send broadcasts about its handle to @p window.
    void add(HWND window, HandleRecord record);

    /// The handle that a broadcast with these two values is about; null if there is none.
    std::shared_ptr<DeviceHandle> find(HANDLE value, HDEVNOTIFY notification) const;

    /// Takes out the record of @p handle, which must have one.
    HandleRecord take(const DeviceHandle& handle);

    /// Ends the watching of a handle, or of the open handle with a value.
    void remove(const DeviceHandle& handle);
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
