#pragma once

#include <cstddef>

#include <windows.h>

class DeviceInstance;

/// Receives a detector's reports. The detector calls them on its own threads and holds its lock during most
/// of them, so return at once and wait for no other thread.
class DeviceDetectorListener
{
public:
    /// A matching device is present. DeviceInstance says how long the record is valid.
    virtual void deviceArrived(DeviceInstance*) {}
    /// It is gone. The record stays readable until DeviceDetector::forget().
    virtual void deviceRemoved(DeviceInstance*) {}
    /// After a refused removal the detector has opened the device again. The old handle is closed; the new
    /// one, for queries only, belongs to the detector.
    virtual void deviceHandleChanged(DeviceInstance*, HANDLE /*oldHandle*/, HANDLE /*newHandle*/) {}
    /// Every device present so far has been examined; @p count of them are known. May be called more than
    /// once.
    virtual void deviceEnumerationComplete(std::size_t /*count*/) {}

protected:
    ~DeviceDetectorListener() = default;
};
