#pragma once

#include <memory>

#include <windows.h>

#include "devicehandle.h"
#include "deviceinstance.h"

class DeviceDetectorListener;

/// Finds the devices with given identities, reports their arrivals and removals, and opens them for callers.
/// Any thread may call any operation, but only one thread at a time may call start() or stop().
class DeviceDetector
{
public:
    DeviceDetector() = default;
    virtual ~DeviceDetector() = default;
    DeviceDetector(const DeviceDetector&) = delete;
    DeviceDetector& operator=(const DeviceDetector&) = delete;

    /// Starts detection of the devices that match any of the @p count identities at @p ids. The reports
    /// go to @p listener, which must outlive the detection. Devices that are already present are
    /// reported as arrivals.
    /// @return whether detection runs after the call. If detection already runs, start() changes nothing
    ///         and returns true.
    virtual bool start(DeviceDetectorListener* /*listener*/, const DeviceId* /*ids*/, unsigned int /*count*/)
    {
        return false;
    }

    /// Ends detection and deletes every device record. The detector makes no report after the return.
    virtual void stop() {}

    /// Opens a known device and watches its handle until closeDevice().
    ///
    /// When the system asks for an orderly removal of the device, the detector closes the handle at once. The
    /// system may then reuse the handle's value for another object, and the caller could mistake that object
    /// for the device. lendDevice() avoids this mistake.
    /// @param access, share  combinations of Access::Bits.
    /// @return the handle, or INVALID_HANDLE_VALUE if the device is not known (any more) or cannot be opened.
    virtual HANDLE openDevice(DeviceInstance* /*device*/, int /*access*/, int /*share*/,
                              SECURITY_ATTRIBUTES* /*security*/, DWORD /*flagsAndAttributes*/)
    {
        return INVALID_HANDLE_VALUE;
    }

    /// Stops watching a handle. Call it before you close the handle. Does nothing if the handle is
    /// not watched.
    virtual void closeDevice(HANDLE /*handle*/) {}

    /// Deletes the record of a removed device. Does nothing if the device has not been removed. Call
    /// forget() only after the removal and every earlier report have been handled. Otherwise a report may
    /// point to a new record that got the same address.
    virtual void forget(DeviceInstance* /*removed*/) {}

    /// Opens a known device like openDevice(), and shares the handle with the caller until takeBack().
    ///
    /// When the system asks for an orderly removal of the device, the detector closes the shared handle as
    /// soon as a transfer in progress has ended. The handle stays closed even if the removal is refused.
    /// @return null if the device is not known (any more) or cannot be opened.
    virtual std::shared_ptr<DeviceHandle> lendDevice(DeviceInstance* /*device*/, int /*access*/,
                                                     int /*share*/)
    {
        return nullptr;
    }

    /// Stops watching a lent handle if the handle is still open. Call it before you close the handle.
    virtual void takeBack(const DeviceHandle& /*handle*/) {}

protected:
    DeviceDetectorListener* listener = nullptr; ///< not owned; null until start()
};

/// Creates a detector for this system. Delete it with destroyDeviceDetector().
DeviceDetector* createDeviceDetector();

/// Stops and deletes @p detector; a null pointer is ignored.
void destroyDeviceDetector(DeviceDetector* detector);
