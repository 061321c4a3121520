#pragma once

#include <cstddef>

#include <windows.h>

class DeviceInstance;

/// Receives a detector's reports. They come on the detector's own threads, most of them with its lock held:
/// return at once and wait for nobody.
class DeviceDetectorListener
{
public:
    /// A matching device is there. The record stays valid as told at DeviceInstance.
    virtual void deviceArrived(DeviceInstance*) {}
    /// It is gone. Take the pointer as a name; the record stays readable until DeviceDetector::forget().
    virtual void deviceRemoved(DeviceInstance*) {}
    /// A removal that was refused made the detector open a lent handle anew; the old one is closed.
    virtual void deviceHandleChanged(DeviceInstance*, HANDLE /*oldHandle*/, HANDLE /*newHandle*/) {}
    /// Every device present so far has been examined; @p count of them are known. May come more than once.
    virtual void deviceEnumerationComplete(std::size_t /*count*/) {}

protected:
    ~DeviceDetectorListener() = default;
};
