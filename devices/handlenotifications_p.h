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
    std::shared_ptr<DeviceHandle> handle; ///< shared with the caller of lendDevice(), if there is one
    bool isReopened;
    DeviceInstance* device; ///< owned by the detector
    DWORD desiredAccess;    ///< this and the next two members are arguments of CreateFileW
    DWORD shareMode;
    DWORD flagsAndAttributes;
    DeviceNotification notification = {}; ///< null if the system refused to watch the handle
};

/// The handles that a detector has opened and watches. The detector's lock guards this object.
///
/// The record of a handle that was closed for a removal stays until the system reports the removal's outcome.
/// Meanwhile a new handle may get the closed handle's value. So two records may contain the same handle
/// value, but at most one of their handles is open.
class HandleNotifications
{
public:
    /// Adds @p record, and asks the system to send @p window the broadcasts about the record's handle.
    void add(HWND window, HandleRecord record);

    /// Finds the watched handle with the value @p value and the registration @p notification. A broadcast
    /// about a handle contains both.
    /// @return null if there is no such handle.
    std::shared_ptr<DeviceHandle> find(HANDLE value, HDEVNOTIFY notification) const;

    /// Removes and returns the record of @p handle. The record must exist.
    HandleRecord take(const DeviceHandle& handle);

    /// Stops watching @p handle, whether it is open or closed.
    void remove(const DeviceHandle& handle);
    /// Stops watching the open handle with the value @p value.
    void remove(HANDLE value);

    /// Stops watching the reopened handle of @p device. This closes the handle, because only its record
    /// owns it.
    void removeReopenedOf(const DeviceInstance* device);

    void removeAllOf(const DeviceInstance* device);

    void clear() { records.clear(); }

private:
    template <typename Matches>
    void removeIf(Matches matches);

    std::vector<HandleRecord> records;
};
