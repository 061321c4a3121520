#pragma once

#include <memory>

#include <windows.h>

#include "devicehandle.h"
#include "deviceinstance.h"

class DeviceDetectorListener;

/// Finds the devices of given identities, now and as they come and go, and lends out handles to them.
/// All operations may be called on any thread, but start() and stop() by only one thread at a time.
class DeviceDetector
{
public:
    DeviceDetector() = default;
    virtual ~DeviceDetector() = default;
    DeviceDetector(const DeviceDetector&) = delete;
    DeviceDetector& operator=(const DeviceDetector&) = delete;

    /// Starts reporting the devices that match one of the @p count identities at @p ids to @p listener, which
    /// must outlive the detection. The devices present now are reported as arrivals.
    /// @return whether detection runs; true also if it ran before, with its earlier identities.
    virtual bool start(DeviceDetectorListener* /*listener*/, const DeviceId* /*ids*/, unsigned int /*count*/)
    {
        return false;
    }

    /// Ends detection and deletes every record. After its return no report is made.
    virtual void stop() {}

    /// Opens a known device and watches the handle until closeDevice().
    ///
    /// When the system asks for an orderly removal of the device, the detector closes the handle at once. Its
    /// value may then belong to something else; lendDevice() protects its borrower from that.
    /// @param access, share  Access::Bits.
    /// @return INVALID_HANDLE_VALUE if the device is not known (any more) or cannot be opened.
    virtual HANDLE openDevice(DeviceInstance* /*device*/, int /*access*/, int /*share*/,
                              SECURITY_ATTRIBUTES* /*security*/, DWORD /*flagsAndAttributes*/)
    {
        return INVALID_HANDLE_VALUE;
    }

    /// Ends the watching of a handle; the caller closes it. Does nothing for a handle that is not watched.
    virtual void closeDevice(HANDLE /*handle*/) {}

    /// Deletes the record of a removed device; its address may be used for another one. Call it when the
    /// receiver of the reports has handled the removal and every report before it. Does nothing for a device
    /// that is not removed.
    virtual void forget(DeviceInstance* /*removed*/) {}

    /// Opens a known device, as openDevice(), and shares the handle with the caller until takeBack().
    ///
    /// When the system asks for an orderly removal of the device, the detector closes the handle, for both,
    /// as soon as a transfer in progress has ended. It stays closed even if the removal is refused.
    /// @return null if the device is not known (any more) or cannot be opened.
    virtual std::shared_ptr<DeviceHandle> lendDevice(DeviceInstance* device, int access, int share)
    {
        const HANDLE handle = openDevice(device, access, share, nullptr, 0);
        return handle == INVALID_HANDLE_VALUE ? nullptr : std::make_shared<DeviceHandle>(handle);
    }

    /// Ends the watching of a lent handle; the borrower closes it.
    virtual void takeBack(const DeviceHandle& handle) { closeDevice(handle.value()); }

protected:
    DeviceDetectorListener* listener = nullptr; ///< not owned; null until start()
};

/// A detector for this system. Delete it with destroyDeviceDetector().
DeviceDetector* createDeviceDetector();

/// Stops and deletes @p detector; a null pointer is ignored.
void destroyDeviceDetector(DeviceDetector* detector);
