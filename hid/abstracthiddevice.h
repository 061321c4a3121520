#pragma once

#include <memory>
#include <vector>

#include "accessbits.h"

class DeviceHandle;
class HidDeviceDescriptor;

/// One HID device (top-level collection) and its feature reports.
///
/// Reports are byte vectors whose byte 0 is the report ID; every length includes the report ID. To transfer a
/// feature report, Windows needs a buffer of at least the device's feature report length
/// (HIDP_CAPS::FeatureReportByteLength), and silently drops all bytes after that length. So this class pads a
/// shorter vector with zeros to the feature report length, cuts an answer to the length of the caller's
/// vector, and refuses a vector that is longer than the feature report length. If the feature report length
/// is 264, a 64-byte vector is sent as 264 bytes, of which the last 200 are 0.
///
/// Only one thread at a time may use a device, and transfers block that thread. Any thread may call isOpen()
/// at any time.
class AbstractHidDevice
{
public:
    virtual ~AbstractHidDevice() = default;

    /// Creates an open device that takes over the open device handle @p handle.
    static AbstractHidDevice* create(void* handle, const HidDeviceDescriptor& descriptor);

    /// Creates a device that shares @p handle. Once any owner has closed the handle, the device is closed and
    /// every transfer fails.
    static AbstractHidDevice* create(std::shared_ptr<DeviceHandle> handle);

    /// Creates a closed device. Call open() to open it. The caller owns the device.
    static AbstractHidDevice* create(const HidDeviceDescriptor& descriptor);

    /// Opens the device whose descriptor was passed to create().
    /// @param access  the rights with which the device is opened, as Access::Bits.
    /// @param share  the rights that others may have at the same time, as Access::Bits.
    /// @return false if the device cannot be opened or was already open.
    virtual bool open(int access, int share) = 0;

    /// Closes the device. Does nothing if it is not open.
    virtual void close() = 0;

    virtual bool isOpen() const = 0;

    /// The usage page of the top-level collection; 0 if it cannot be read. The pages 0xFF00 to 0xFFFF are
    /// vendor-defined (HID Usage Tables).
    virtual int usagePage() = 0;

    /// Sends @p report as one feature report.
    /// @return false if the device is not open, is gone or refuses, or if @p report is empty or too long for
    ///         the device.
    virtual bool setFeatureBlocking(std::vector<unsigned char>* report) = 0;

    /// Reads one feature report into @p report.
    /// @param report  on entry, a vector as long as the wanted answer, with the report ID in byte 0; on
    ///     success, the answer.
    /// @return false if the device is not open, is gone, refuses or answers with fewer bytes, or if @p report
    ///         is empty or too long for the device. The contents of @p report are then unspecified, but its
    ///         length is unchanged.
    virtual bool getFeatureBlocking(std::vector<unsigned char>* report) = 0;

    /// Creates a zeroed buffer as long as the device's longest report of the kind @p reportKind. The buffer
    /// is empty if the device has no such report. The caller owns the buffer.
    /// @param reportKind  a HIDP_REPORT_TYPE: 0 for input, 1 for output, 2 for feature reports.
    virtual std::vector<unsigned char>* createReportBuffer(int reportKind) = 0;
};
