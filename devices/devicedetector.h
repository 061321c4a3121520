#pragma once

#include <windows.h>

#include "deviceinstance.h"

class DeviceDetectorListener;

/// Finds the devices of given identities, now and as they come and go, and lends out handles to them.
/// All operations may be called on any thread, but start() and stop() by one thread at a time.
class DeviceDetector
{
public:
    DeviceDetector() = default;
    virtual ~DeviceDetector() = default;
    DeviceDetector(const DeviceDetector&) = delete;
    DeviceDetector& operator=(const DeviceDetector&) = delete;

    /// Starts reporting the devices that match one of the @p count identities at @p ids to @p listener, which
    /// must outlive the detection. The devices present now are reported as arrivals.
    /// @return whether detection runs; true also where it ran before, with its earlier identities.
    virtual bool start(DeviceDetectorListener* /*listener*/, const DeviceId* /*ids*/, unsigned int /*count*/)
    {
        return false;
    }

    /// Ends detection and deletes every record. Once it has returned, no report is made any more.
    virtual void stop() {}

    /// Opens a known device and watches the handle until closeDevice().
    /// @param access  bit 0 read, bit 1 write.   @param share  bit 0 read, bit 1 write; 0 is exclusive.
    /// @return INVALID_HANDLE_VALUE where the device is not known (any more) or cannot be opened.
    virtual HANDLE openDevice(DeviceInstance* /*device*/, int /*access*/, int /*share*/,
                              SECURITY_ATTRIBUTES* /*security*/, DWORD /*flagsAndAttributes*/)
    {
        return INVALID_HANDLE_VALUE;
    }

    /// Ends the watching of a handle; the caller closes it. Nothing for a handle that is not watched.
    virtual void closeDevice(HANDLE /*handle*/) {}

    /// Tells that the receiver of the reports has handled the removal of @p removed and every report
    /// before it. The record is deleted then and its address may be used for another. Nothing for a
    /// record that is not removed.
    virtual void forget(DeviceInstance* /*removed*/) {}

protected:
    DeviceDetectorListener* listener = nullptr; ///< not owned; null until start()
};

/// A detector for this system; to be deleted by destroyDeviceDetector().
DeviceDetector* createDeviceDetector();

/// Stops and deletes @p detector; a null pointer is ignored.
void destroyDeviceDetector(DeviceDetector* detector);
