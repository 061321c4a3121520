#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <windows.h>

#include "filedescriptor.h"

/// A HID interface as the kernel's hidraw driver serves it, such as /dev/hidraw3.
///
/// All users in this program share one open file: acquire() opens it for the first one, and the last
/// release() closes it. These two are to be called one at a time; transfers on any thread, between the two.
class HidrawDevice
{
public:
    explicit HidrawDevice(std::string devicePath);

    /// What a user asks of other programs that lock the device too (flock). The strictest that was asked for
    /// is in force until the last user is gone.
    enum class Lock {
        None,
        Shared,    ///< those that want it for themselves stay out
        Exclusive, ///< all stay out
    };

    /// One user more.
    /// @return 0, or a Windows error code, the user then not being counted.
    [[nodiscard]] DWORD acquire(Lock wanted);
    void release();

    /// False once the device is gone.
    bool isConnected() const;

    /// HIDIOCSFEATURE and HIDIOCGFEATURE; @p report[0] is the report ID, 0 for a device without report IDs.
    /// @return 0, or a Windows error code: ERROR_DEVICE_NOT_CONNECTED where the device went away meanwhile.
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

/// The Windows error code for an errno value of a device's open or transfer, as a program written for Windows
/// expects it: ERROR_DEVICE_NOT_CONNECTED where the device has gone, ERROR_ACCESS_DENIED,
/// ERROR_SHARING_VIOLATION where somebody else has it, ERROR_GEN_FAILURE where it does not answer properly.
DWORD windowsError(int errnoValue);
