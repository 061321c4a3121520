// The part of DeviceDetectorWindows that opens devices for callers and watches the devices' handles. It
// closes a handle when the system asks for an orderly removal of the handle's device.

#include "devicedetectorwindows.h"

#include "accessbits.h"
#include "devicedetectorlistener.h"
#include "devicehandle.h"
#include "presentdevices_p.h"

HANDLE DeviceDetectorWindows::openDevice(DeviceInstance* device, int access, int share,
                                         SECURITY_ATTRIBUTES* security, DWORD flagsAndAttributes)
{
    const auto handle = open(device, access, share, security, flagsAndAttributes, false);
    return handle ? handle->release() : INVALID_HANDLE_VALUE;
}

std::shared_ptr<DeviceHandle> DeviceDetectorWindows::lendDevice(DeviceInstance* device, int access, int share)
{
    return open(device, access, share, nullptr, 0, false);
}

std::shared_ptr<DeviceHandle> DeviceDetectorWindows::open(DeviceInstance* device, int access, int share,
                                                          SECURITY_ATTRIBUTES* security,
                                                          DWORD flagsAndAttributes, bool isReopened)
{
    const DWORD desiredAccess = Access::desiredAccess(access);
    const DWORD shareMode = Access::shareMode(share);
    const Guard guard(lock);
    const auto known = knownDevices.find(toLowerAscii(device->path));
    // A new device may have the path of a removed one. The removed device's record must not open the
    // new device.
    if (known == knownDevices.end() || removedDevices.count(device))
        return nullptr;
    const HANDLE value = CreateFileW(device->path.c_str(), desiredAccess, shareMode, security, OPEN_EXISTING,
                                     flagsAndAttributes, nullptr);
    if (value == INVALID_HANDLE_VALUE)
        return nullptr;
    auto handle = std::make_shared<DeviceHandle>(value);
    DeviceInstance* const record = known->second.get();
    handleNotifications.removeReopenedOf(record); // an older handle from reopenDevice() is no longer needed
    handleNotifications.add(window,
                            {handle, isReopened, record, desiredAccess, shareMode, flagsAndAttributes});
    return handle;
}

void DeviceDetectorWindows::closeDevice(HANDLE handle)
{
    const Guard guard(lock);
    handleNotifications.remove(handle);
}

void DeviceDetectorWindows::takeBack(const DeviceHandle& handle)
{
    const Guard guard(lock);
    // A handle that was closed for a removal stays watched until the outcome of the removal is known.
    if (handle.isOpen())
        handleNotifications.remove(handle);
}

void DeviceDetectorWindows::handleChange(WPARAM event, const DEV_BROADCAST_HANDLE& broadcast)
{
    if (event == DBT_DEVICEQUERYREMOVE) {
        withdraw(broadcast);
        return;
    }
    if (event != DBT_DEVICEQUERYREMOVEFAILED && event != DBT_DEVICEREMOVECOMPLETE)
        return;
    const Guard guard(lock);
    const auto handle = handleNotifications.find(broadcast.dbch_handle, broadcast.dbch_hdevnotify);
    // withdraw() has closed the handle of the removal query. If this handle is open, it was opened after the
    // query, and a refused removal does not affect it.
    if (!handle || (event == DBT_DEVICEQUERYREMOVEFAILED && handle->isOpen()))
        return;
    const HandleRecord record = handleNotifications.take(*handle);
    if (event == DBT_DEVICEQUERYREMOVEFAILED)
        reopenDevice(record);
    else
        removeDevice(std::wstring(record.device->path)); // a copy, as removeDevice() removes the record
}

/// Closes the handle that @p broadcast names, so that the removal can proceed.
void DeviceDetectorWindows::withdraw(const DEV_BROADCAST_HANDLE& broadcast)
{
    std::shared_ptr<DeviceHandle> handle;
    {
        const Guard guard(lock);
        handle = handleNotifications.find(broadcast.dbch_handle, broadcast.dbch_hdevnotify);
    }
    // Closes the handle without holding the lock, because close() waits for a transfer in progress.
    if (handle)
        handle->close();
}

/// Opens a device again after its removal was refused.
/// @param closed  the record of the handle that was closed for the removal. The caller has taken the record
///     out of handleNotifications, because the new handle may get the closed handle's value.
void DeviceDetectorWindows::reopenDevice(const HandleRecord& closed)
{
    // open() looks for the bits Access::Read and Access::Write. The record has GENERIC_READ and
    // GENERIC_WRITE, which are other bits. So open() opens the device for queries only.
    const auto reopened = open(closed.device, static_cast<int>(closed.desiredAccess),
                               static_cast<int>(closed.shareMode), nullptr, closed.flagsAndAttributes, true);
    if (reopened)
        listener->deviceHandleChanged(closed.device, closed.handle->value(), reopened->value());
}
