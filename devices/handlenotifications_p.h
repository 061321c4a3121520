#pragma once

#include <map>
#include <memory>
#include <optional>

#include <windows.h>

#include <dbt.h>

class DeviceInstance;

struct NotificationDeleter
{
    void operator()(HDEVNOTIFY notification) const { UnregisterDeviceNotification(notification); }
};
/// A registration for device-change broadcasts.
using DeviceNotification = std::unique_ptr<void, NotificationDeleter>;

struct HandleRecord
{
    DeviceNotification notification;
    DeviceInstance* device; ///< borrowed from the known devices
    DWORD desiredAccess;    ///< as CreateFileW takes them
    DWORD shareMode;
    DWORD flagsAndAttributes;
};

/// The handles that a detector has lent out and watches. Not guarded: the detector's lock does that.
///
/// Two records may stand under one value: the system closes a handle for an orderly removal, and gives its
/// value away while the outcome of that removal has not been told yet.
class HandleNotifications
{
public:
    /// Has broadcasts about @p handle sent to @p window. A handle that cannot be watched gets no record.
    void add(HWND window, HANDLE handle, HandleRecord record);

    /// Takes the record out that a broadcast with these two values is about, if there is one.
    std::optional<HandleRecord> take(HANDLE handle, HDEVNOTIFY notification);

    /// Ends the watching of an open handle.
    void remove(HANDLE handle);

    void removeAllOf(const DeviceInstance* device);

    void clear() { records.clear(); }

private:
    std::multimap<HANDLE, HandleRecord> records;
};
