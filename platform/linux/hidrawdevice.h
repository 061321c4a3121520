#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <windows.h>

#include "filedescriptor.h"

/// A HID interface that has a node of the kernel's hidraw driver, such as /dev/hidraw3.
///
/// The users of a HidrawDevice share one file descriptor: the first acquire() opens it, and the last
/// release() closes it. Calls of acquire() and release() must not overlap. After acquire(), transfers may run
/// on any thread.
class HidrawDevice
{
public:
    explicit HidrawDevice(std::string devicePath);

    /// Adds a user.
    /// @param isLocking  if true, locks the device with flock() until release() removes the last user.
    ///     Meanwhile other programs cannot lock the device.
    /// @return 0, or the Windows error code of the failure.
    [[nodiscard]] DWORD acquire(bool isLocking);
    void release();

    /// Returns false once the device is gone.
    bool isConnected() const;

    /// Send or fetch one feature report. @p report[0] is the report ID, or 0 if the device has no report IDs.
    /// @return 0, or a Windows error code: ERROR_DEVICE_NOT_CONNECTED if the device is gone.
    [[nodiscard]] DWORD setFeature(const std::uint8_t* report, std::size_t size) const;
    [[nodiscard]] DWORD getFeature(std::uint8_t* report, std::size_t size, std::size_t& received) const;

    const std::string path;

private:
    bool isGoneWithin(int timeoutMs) const;
    DWORD failure(int errnoValue) const;

    FileDescriptor file;
    int users = 0;
};
