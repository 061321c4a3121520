#pragma once

#include <cstddef>

#include <windows.h>

class DeviceInstance;

/// Receives a detector's reports. The detector calls these functions on its own threads and holds its lock
/// during most calls. So return at once and do not wait for another thread.
class DeviceDetectorListener
{
public:
    /// A matching device is present. The description of DeviceInstance says how long the record is valid.
    virtual void deviceArrived(DeviceInstance*) {}
    /// The device is gone. The record stays readable until DeviceDetector::forget().
    virtual void deviceRemoved(DeviceInstance*) {}
    /// After a refused removal the detector has opened the device again. The old handle is closed. The new
    /// handle belongs to the detector and allows only queries.
    virtual void deviceHandleChanged(DeviceInstance*, HANDLE /*oldHandle*/, HANDLE /*newHandle*/) {}
    /// Every device that was present at the start has been examined. @p count devices are known now. May be
    /// called more than once.
    virtual void deviceEnumerationComplete(std::size_t /*count*/) {}

protected:
    ~DeviceDetectorListener() = default;
};
