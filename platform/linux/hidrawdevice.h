#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <windows.h>

#include "filedescriptor.h"

/// A HID interface with a node of the kernel's hidraw driver, such as /dev/hidraw3.
///
/// All users in this program share one descriptor: the first acquire() opens it, and the last release()
/// closes it. Calls of acquire() and release() must not overlap. After acquire(), transfers may run on any
/// thread.
class HidrawDevice
{
public:
    explicit HidrawDevice(std::string devicePath);

    /// The lock (flock) with which a user keeps out other programs that lock the device too. The strictest
    /// lock that any user wanted holds until the last user releases the device.
    enum class Lock {
        None,
        Shared,    ///< keeps out programs that ask for an exclusive lock
        Exclusive, ///< keeps out programs that ask for any lock
    };

    /// Adds a user.
    /// @return 0, or a Windows error code if it cannot add the user.
    [[nodiscard]] DWORD acquire(Lock wanted);
    void release();

    /// Returns false once the device is gone.
    bool isConnected() const;

    /// Make a feature transfer. @p report[0] is the report ID, 0 for a device without report IDs.
    /// @return 0, or a Windows error code, such as ERROR_DEVICE_NOT_CONNECTED if the device is gone.
    [[nodiscard]] DWORD setFeature(const std::uint8_t* report, std::size_t size) const;
    [[nodiscard]] DWORD getFeature(std::uint8_t* report, std::size_t size, std::size_t& received) const;

    const std::string path;

private:
    DWORD open();
    DWORD tighten(Lock wanted);
    void close();
    bool isGoneWithin(int timeoutMs) const;
    DWORD failure(int errnoValue) const;

    FileDescriptor file;
    int users = 0;
    Lock held = Lock::None;
};

/// The Windows error code for the errno value of a failed open or transfer, such as
/// ERROR_DEVICE_NOT_CONNECTED if the device is gone, ERROR_ACCESS_DENIED if the user lacks the permission,
/// ERROR_SHARING_VIOLATION if another program has locked it, ERROR_GEN_FAILURE if it answers wrongly.
DWORD windowsError(int errnoValue);
